// The host core: strings, the localiser, errors, files and logging.
#include "vyrcore/config.h"
#include "vyrcore/debug.h"
#include "vyrcore/filesupport.h"
#include "vyrcore/string.h"

#include <gtest/gtest.h>
#include <unwind.h>

#include <filesystem>
#include <fstream>

using namespace vyrcore;

TEST(StringTest, LongTextsConvertAcrossPieceBoundaries)
{
    // Longer than one conversion piece, with multi-byte characters of every
    // length straddling the piece boundaries.
    std::string text;
    while (text.size() < (size_t(1) << 25) + 7)
        text += "a\u00e9\u6771\U0001F3AC";
    std::u16string wide = string::UTF8to16(text);
    EXPECT_EQ(wide.size(), text.size() / 10 * 5);
    EXPECT_EQ(string::UTF16to8(wide), text);
    EXPECT_TRUE(string::IsValidUTF8CharacterString(text));
}

TEST(StringTest, NumbersAreWholeDecimalTexts)
{
    bool ok = false;
    EXPECT_EQ(string::StringToNumber(u" 42 ", &ok), 42);
    EXPECT_TRUE(ok);
    EXPECT_EQ(string::StringToNumber(u"-1.5e2", &ok), -150);
    for (const char16_t* bad : {u"", u"12x", u"0x10", u"inf", u"nan", u"١٢"}) {
        EXPECT_EQ(string::StringToNumber(bad, &ok), 0);
        EXPECT_FALSE(ok) << string::UTF16to8(bad);
    }
}

class LocalizerTest : public ::testing::Test {
protected:
    void TearDown() override { config::Localizer::Get().Clear(); }
    std::string Write(const std::string& name, const std::string& text)
    {
        std::string path = ::testing::TempDir() + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
};

TEST_F(LocalizerTest, DefaultsTranslationsAndBadFiles)
{
    auto& loc = config::Localizer::Get();
    EXPECT_EQ(loc.LocalizeUTF8("$$$/app/Hello=Hello there"), "Hello there");
    EXPECT_EQ(loc.LocalizeUTF8("not a key"), "not a key");
    EXPECT_EQ(loc.LocalizeUTF8("$$$/app/NoDefault"), "");

    ASSERT_TRUE(loc.LoadTranslationFile(
        Write("fr.txt", "# French\n\n$$$/app/Hello=Bonjour\r\n$$$/app/Two=un\\ndeux\n")));
    EXPECT_EQ(loc.LocalizeUTF8("$$$/app/Hello=Hello there"), "Bonjour");
    EXPECT_EQ(loc.Localize(u"$$$/app/Two=x"), u"un\ndeux");

    std::string error;
    EXPECT_FALSE(loc.LoadTranslationFile(Write("bad.txt", "$$$/app/Hello=Salut\nbroken\n"), &error));
    EXPECT_NE(error.find("bad.txt:2: expected key=text"), std::string::npos) << error;
    // A bad file changes nothing.
    EXPECT_EQ(loc.LocalizeUTF8("$$$/app/Hello=Hello there"), "Bonjour");
    EXPECT_FALSE(loc.LoadTranslationFile("/nonexistent/file", &error));
}

TEST(ErrorServiceTest, ThrowErrorAndConversion)
{
    std::vector<std::string> reported;
    config::SetErrorSink([&](const std::string& m) { reported.push_back(m); });
    try {
        config::ThrowError(1, "failed: ^1", 0, 0, true, "disk");
        ADD_FAILURE();
    } catch (const config::HostException& e) {
        EXPECT_STREQ(e.what(), "failed: disk");
    }
    // Without replacements the text is left alone.
    EXPECT_THROW(config::ThrowError(1, "keep ^1", 0, 0, true), config::HostException);
    config::ThrowError(0, "just report", 0, 0, true);
    EXPECT_EQ(config::ExecuteFunctionAndConvertException([] { return 0; }), 0);
    EXPECT_EQ(config::ExecuteFunctionAndConvertException(
                  []() -> int { throw std::runtime_error("converted"); }),
              1);
    EXPECT_EQ(reported, (std::vector<std::string>{"just report", "converted"}));
    config::SetErrorSink(nullptr);
}

// A foreign exception, as LuaJIT raises a Lua error, belongs to the Lua call
// further out: the converter neither reports nor swallows it.
TEST(ErrorServiceTest, ForeignExceptionsPassThroughTheConverter)
{
    bool reported = false, passed = false;
    config::SetErrorSink([&](const std::string&) { reported = true; });
    try {
        config::ExecuteFunctionAndConvertException([]() -> int {
            auto* e = new _Unwind_Exception{};
            e->exception_class = 0x4C55414A49543200; // "LUAJIT\0"
            e->exception_cleanup = [](_Unwind_Reason_Code, _Unwind_Exception* x) { delete x; };
            _Unwind_RaiseException(e);
            std::abort();
        });
    } catch (...) {
        passed = config::IsForeignException();
    }
    EXPECT_TRUE(passed && !reported);
    config::SetErrorSink(nullptr);
}

TEST(FileSupportTest, DirectoriesAndFiles)
{
    namespace fs = std::filesystem;
    using filesupport::Dir;
    using filesupport::File;
    fs::path root = fs::path(::testing::TempDir()) / "files_test";
    fs::create_directories(root / "inner");
    std::ofstream(root / "inner" / "data.bin", std::ios::binary) << std::string("a\0b", 3);

    Dir dir = Dir::FromUTF8(root.string() + "/./inner/../");
    EXPECT_EQ(dir.FullPathUTF8(), root.string());
    EXPECT_TRUE(dir.Exists());
    EXPECT_FALSE(Dir().Exists());
    EXPECT_TRUE(Dir().Join(u"x").Empty());
    File file(dir.Join(u"inner"), u"data.bin");
    std::string bytes;
    ASSERT_TRUE(file.ReadAll(bytes));
    EXPECT_EQ(bytes, std::string("a\0b", 3));
    EXPECT_FALSE(File(dir, u"inner").Exists()); // a directory is not a file
    EXPECT_FALSE(File(dir, u"missing").ReadAll(bytes));
    EXPECT_TRUE(Dir::AppDir().Exists());
}

TEST(LoggingTest, LevelsAndConfiguration)
{
    EXPECT_FALSE(debug::TraceEnabled("cat.a"));
    unsigned before = debug::TraceChangeCount();
    ASSERT_TRUE(debug::ConfigureLevels("cat.a=trace,cat.b=error"));
    EXPECT_GT(debug::TraceChangeCount(), before);
    EXPECT_TRUE(debug::TraceEnabled("cat.a"));
    EXPECT_EQ(debug::GetLevel("cat.b"), debug::Level::Error);
    std::string error;
    EXPECT_FALSE(debug::ConfigureLevels("cat.c=trace,cat.a=loud", &error));
    EXPECT_EQ(error, "bad trace entry 'cat.a=loud' (expected category=error|warning|info|trace)");
    EXPECT_FALSE(debug::TraceEnabled("cat.c")); // nothing applied from a bad list
    debug::SetLevel("cat.a", debug::Level::Warning);
}
