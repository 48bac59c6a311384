#include "vyrcore/string.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <stdexcept>
#include <cstdlib>
#include <memory>

namespace vyrcore::string {

namespace {

// ICU takes int32_t lengths: longer texts are converted in pieces that end
// on a character boundary, so no sequence is split between two pieces.
constexpr size_t kPiece = size_t(1) << 24;

size_t UTF8PieceEnd(std::string_view utf8, size_t start)
{
    size_t end = std::min(utf8.size(), start + kPiece);
    // Back up over continuation bytes (at most three) to a lead byte.
    for (int i = 0; i < 3 && end < utf8.size() && end > start &&
                    (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80;
         ++i)
        --end;
    return end;
}

size_t UTF16PieceEnd(std::u16string_view utf16, size_t start)
{
    size_t end = std::min(utf16.size(), start + kPiece);
    if (end < utf16.size() && end > start && U16_IS_LEAD(utf16[end - 1]))
        --end;
    return end;
}

} // namespace

UTF16String UTF8to16(std::string_view utf8)
{
    UTF16String out;
    out.reserve(utf8.size()); // never more UTF-16 units than bytes
    for (size_t start = 0; start < utf8.size();) {
        size_t end = UTF8PieceEnd(utf8, start);
        size_t at = out.size();
        out.resize(at + (end - start));
        int32_t length = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8WithSub(out.data() + at, static_cast<int32_t>(end - start), &length,
                             utf8.data() + start, static_cast<int32_t>(end - start), 0xFFFD,
                             nullptr, &status);
        out.resize(at + (U_SUCCESS(status) ? static_cast<size_t>(length) : 0));
        start = end;
    }
    return out;
}

UTF8String UTF16to8(std::u16string_view utf16)
{
    UTF8String out;
    for (size_t start = 0; start < utf16.size();) {
        size_t end = UTF16PieceEnd(utf16, start);
        size_t at = out.size();
        out.resize(at + (end - start) * 3); // at most three bytes per unit
        int32_t length = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8WithSub(out.data() + at, static_cast<int32_t>((end - start) * 3), &length,
                           utf16.data() + start, static_cast<int32_t>(end - start), 0xFFFD,
                           nullptr, &status);
        out.resize(at + (U_SUCCESS(status) ? static_cast<size_t>(length) : 0));
        start = end;
    }
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
    // Case mapping may grow the text, and ICU counts in int32_t.
    if (text.size() > size_t(INT32_MAX) / 4)
        throw std::length_error("text too long for case mapping");
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
    const auto length = static_cast<int64_t>(bytes.size());
    int64_t i = 0;
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
    if (!collator || a.size() > size_t(INT32_MAX) || b.size() > size_t(INT32_MAX))
        return a.compare(b);
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult r = collator->compare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                           static_cast<int32_t>(b.size()), status);
    if (U_FAILURE(status))
        return a.compare(b);
    return r == UCOL_LESS ? -1 : (r == UCOL_GREATER ? 1 : 0);
}

} // namespace vyrcore::string
