// Logging, the debug database and beta switches as scripts see them.
#include "support/LuaFixture.h"

#include "vyrcore/DebugDatabase.h"
#include "vyrcore/debug.h"

#include <fstream>
#include <unistd.h>

namespace {

using vyrtest::LuaTest;

TEST_F(LuaTest, LoggingWritesByCategoryAndLevel)
{
    std::string path = ::testing::TempDir() + "appservices-log-" + std::to_string(getpid());
    std::remove(path.c_str());
    ASSERT_TRUE(vyrcore::debug::SetLogFile(path));
    Run("require 'vyrlua.vyrLogging' "
        "vyrLogging.SetLevel('scripts', vyrLogging.kLevel_Info) "
        "vyrLogging.Info('scripts', 'shown') vyrLogging.Trace('scripts', 'hidden') "
        "vyrLogging.Log('scripts', 0, 'bad\\0byte') vyrLogging.Info('other', 'hidden too')");
    EXPECT_EQ(Run("return vyrLogging.GetLevel('scripts'), vyrLogging.IsEnabled('scripts', 3), "
                  "vyrLogging.IsEnabled('other', vyrLogging.kLevel_Warning)"),
              (std::vector<std::string>{"2", "false", "true"}));
    EXPECT_EQ(Error("vyrLogging.Log('scripts', 4, 'x')"),
              "test:1: bad argument #2 to 'Log' (level must be 0 (error) to 3 (trace))");
    vyrcore::debug::SetLogFile("");
    std::ifstream in(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(in), {});
    EXPECT_EQ(text, std::string("[scripts] info: shown\n[scripts] error: bad\0byte\n", 48));
}

TEST_F(LuaTest, DebugSwitchesAndBetaFeatures)
{
    auto& db = vyrcore::debug::DebugDatabase::Get();
    db.LoadText("bool flag = true; int count = 3; number ratio = 0.5; string who = me; "
                "bool beta.trim = true; bool beta.off = false");
    Run("dd = require 'vyrlua.DebugDatabase' beta = require 'vyrlua.BetaFeature'");
    EXPECT_EQ(Run("return dd.getBool('flag'), dd.getNumber('count'), dd.getNumber('ratio'), "
                  "dd.getString('who'), dd.getBool('who', false), dd.getNumber('missing', 9), "
                  "dd.getValue('count'), dd.getValue('missing')"),
              (std::vector<std::string>{"true", "3", "0.5", "me", "false", "9", "3", "nil"}));
    EXPECT_EQ(Error("dd.getBool('flag', 1)"),
              "test:1: bad argument #2 to 'getBool' (boolean expected, got number)");
    EXPECT_EQ(Run("return beta.isFeatureEnabled('trim'), beta.isFeatureEnabled('off'), "
                  "beta.isFeatureEnabled('unknown')"),
              (std::vector<std::string>{"true", "false", "false"}));
    db.Clear();
}

} // namespace
