#include "vyrworkspace/sharedui/ConsoleCommand.h"

#include "vyrcore/string.h"

#include <boost/format.hpp>
#include <cstdint>
#include <stdexcept>
#include <unicode/unistr.h>

namespace vyrworkspace::sharedui {

UTF16OutputStream& UTF16OutputStream::operator<<(std::u16string_view text)
{
    mText.append(text);
    return *this;
}

UTF16OutputStream& UTF16OutputStream::operator<<(const char16_t* text)
{
    return *this << std::u16string_view(text != nullptr ? text : u"");
}

UTF16OutputStream& UTF16OutputStream::operator<<(bool value)
{
    return *this << (value ? u"true" : u"false");
}

UTF16OutputStream& UTF16OutputStream::operator<<(double value)
{
    return *this << vyrcore::string::ASCIIto16((boost::format("%.14g") % value).str());
}

UTF16OutputStream& UTF16OutputStream::operator<<(int value)
{
    return *this << static_cast<long long>(value);
}

UTF16OutputStream& UTF16OutputStream::operator<<(long long value)
{
    return *this << vyrcore::string::ASCIIto16(std::to_string(value));
}

std::string UTF16OutputStream::UTF8() const
{
    return vyrcore::string::UTF16to8(mText);
}

ConsoleCommand::~ConsoleCommand() = default;

namespace {

int32_t CheckedLength(size_t size)
{
    if (size > static_cast<size_t>(INT32_MAX))
        throw std::length_error("console text too long");
    return static_cast<int32_t>(size);
}

} // namespace

std::string WideToUTF8(std::wstring_view text)
{
    static_assert(sizeof(wchar_t) == sizeof(UChar32), "wide strings hold UTF-32");
    std::string utf8;
    icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text.data()),
                                  CheckedLength(text.size()))
        .toUTF8String(utf8);
    return utf8;
}

std::wstring UTF8ToWide(std::string_view utf8)
{
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(
        icu::StringPiece(utf8.data(), CheckedLength(utf8.size())));
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = text.toUTF32(nullptr, 0, status);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    status = U_ZERO_ERROR;
    text.toUTF32(reinterpret_cast<UChar32*>(wide.data()), length, status);
    return wide;
}

} // namespace vyrworkspace::sharedui
