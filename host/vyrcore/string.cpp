#include "vyrcore/string.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace vyrcore::string {

UTF16String UTF8to16(std::string_view utf8)
{
    if (utf8.empty())
        return {};
    UTF16String out(utf8.size(), u'\0'); // never more UTF-16 units than bytes
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length,
                         utf8.data(), static_cast<int32_t>(utf8.size()), 0xFFFD, nullptr,
                         &status);
    out.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
    return out;
}

UTF8String UTF16to8(std::u16string_view utf16)
{
    if (utf16.empty())
        return {};
    UTF8String out(utf16.size() * 3, '\0'); // at most three bytes per unit
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, utf16.data(),
                       static_cast<int32_t>(utf16.size()), 0xFFFD, nullptr, &status);
    out.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
    return out;
}

UTF16String ASCIIto16(std::string_view ascii)
{
    UTF16String out;
    out.reserve(ascii.size());
    for (unsigned char c : ascii)
        out.push_back(c < 0x80 ? char16_t(c) : u'?');
    return out;
}

namespace {

using CaseMapper = int32_t (*)(UChar*, int32_t, const UChar*, int32_t, const char*,
                               UErrorCode*);

UTF16String MapCase(std::u16string_view text, CaseMapper mapper)
{
    if (text.empty())
        return {};
    UTF16String out(text.size() + 8, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = mapper(out.data(), static_cast<int32_t>(out.size()), text.data(),
                            static_cast<int32_t>(text.size()), "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        out.assign(static_cast<size_t>(length), u'\0');
        status = U_ZERO_ERROR;
        length = mapper(out.data(), length, text.data(), static_cast<int32_t>(text.size()), "",
                        &status);
    }
    out.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
    return out;
}

} // namespace

UTF16String ToUpperCase(std::u16string_view text)
{
    return MapCase(text, u_strToUpper);
}

UTF16String ToLowerCase(std::u16string_view text)
{
    return MapCase(text, u_strToLower);
}

bool IsValidUTF8CharacterString(std::string_view bytes)
{
    const auto* s = reinterpret_cast<const uint8_t*>(bytes.data());
    const auto length = static_cast<int32_t>(bytes.size());
    int32_t i = 0;
    while (i < length) {
        UChar32 c;
        U8_NEXT(s, i, length, c);
        if (c < 0)
            return false;
    }
    return true;
}

double StringToNumber(std::u16string_view text, bool* ok)
{
    std::string ascii;
    ascii.reserve(text.size());
    for (char16_t c : text) {
        if (c >= 0x80) {
            if (ok)
                *ok = false;
            return 0;
        }
        ascii.push_back(static_cast<char>(c));
    }
    const char* begin = ascii.c_str();
    char* end = nullptr;
    errno = 0;
    double value = std::strtod(begin, &end);
    while (end && (*end == ' ' || *end == '\t' || *end == '\n' || *end == '\r'))
        ++end;
    // strtod also reads hexadecimal, "inf" and "nan": only plain decimals count.
    bool good = end != begin && *end == '\0' && errno == 0 &&
                ascii.find_first_of("xXnN") == std::string::npos &&
                ascii.find_first_of("iI") == std::string::npos;
    if (ok)
        *ok = good;
    return good ? value : 0;
}

UTF16String ReplaceInString(std::u16string_view text,
                            const std::vector<UTF16String>& replacements)
{
    UTF16String out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'^' && i + 1 < text.size()) {
            char16_t next = text[i + 1];
            if (next == u'^') {
                out.push_back(u'^');
                ++i;
                continue;
            }
            if (next >= u'1' && next <= u'9') {
                size_t index = static_cast<size_t>(next - u'1');
                if (index < replacements.size()) {
                    out += replacements[index];
                    ++i;
                    continue;
                }
            }
        }
        out.push_back(c);
    }
    return out;
}

int NaturalCompare(std::u16string_view a, std::u16string_view b)
{
    // One collator for the process: creating one is costly.
    static const std::unique_ptr<icu::Collator> collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::Collator> c(icu::Collator::createInstance(icu::Locale::getRoot(), status));
        if (U_SUCCESS(status) && c)
            c->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
        return U_SUCCESS(status) ? std::move(c) : nullptr;
    }();
    if (!collator)
        return a.compare(b);
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult r = collator->compare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                           static_cast<int32_t>(b.size()), status);
    if (U_FAILURE(status))
        return a.compare(b);
    return r == UCOL_LESS ? -1 : (r == UCOL_GREATER ? 1 : 0);
}

} // namespace vyrcore::string
