// Globally unique identifiers.
#pragma once

#include <array>
#include <string>

namespace vyrcore::utility {

class Guid {
public:
    // The nil GUID (all zero).
    Guid() = default;

    // A new random (version 4) GUID.
    static Guid CreateUnique();

    bool IsNull() const;
    // The usual text form: 36 characters, lower-case hexadecimal in groups of
    // 8-4-4-4-12 ("1b4e28ba-2fa1-4d3b-a3f5-ef19b5a7633b").
    std::string ToUTF8String() const;
    std::u16string ToUTF16String() const;

    friend bool operator==(const Guid&, const Guid&) = default;

private:
    std::array<unsigned char, 16> mBytes{};
};

} // namespace vyrcore::utility
