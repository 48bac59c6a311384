#include "vyrcore/utility/Guid.h"

#include "vyrcore/string.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace vyrcore::utility {

namespace {

boost::uuids::uuid AsUuid(const std::array<unsigned char, 16>& bytes)
{
    boost::uuids::uuid id;
    std::copy(bytes.begin(), bytes.end(), id.begin());
    return id;
}

} // namespace

Guid Guid::CreateUnique()
{
    // Seeded from the operating system's entropy on every call: no shared
    // generator to guard between threads.
    boost::uuids::uuid id = boost::uuids::random_generator()();
    Guid guid;
    std::copy(id.begin(), id.end(), guid.mBytes.begin());
    return guid;
}

bool Guid::IsNull() const
{
    return AsUuid(mBytes).is_nil();
}

std::string Guid::ToUTF8String() const
{
    return boost::uuids::to_string(AsUuid(mBytes));
}

std::u16string Guid::ToUTF16String() const
{
    return string::ASCIIto16(ToUTF8String());
}

} // namespace vyrcore::utility
