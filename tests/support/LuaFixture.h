// A test fixture that boots the reference host and runs Lua snippets, so
// that most tests read as a few lines of Lua and an expectation.
#pragma once

#include "app/HostRuntime.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vyrtest {

// Resources held in memory, falling back to the host's resource directory.
class TestResources : public vyrui::utility::ResourceManager {
public:
    explicit TestResources(std::string fallbackDir);
    void Add(const std::string& name, const std::string& type, const std::string& bytes);

    bool ResourceExists(std::u16string_view name, std::u16string_view type) const override;
    bool ReadResource(std::u16string_view name, std::u16string_view type,
                      std::string& bytes) const override;

private:
    std::map<std::string, std::string> mResources; // "name.type" -> bytes
    vyrui::utility::DirectoryResourceManager mFallback;
};

class LuaTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    lua_State* L() const { return mRuntime->State(); }
    vyrhost::HostRuntime& Runtime() { return *mRuntime; }
    TestResources& Resources() { return *mResources; }

    // Runs `code` (chunk name "test", so errors read "test:1: ...") and
    // returns its results as text: nil, true/false, numbers as Lua prints
    // them, strings as they are, other values by type name. A Lua error
    // fails the test.
    std::vector<std::string> Run(const std::string& code);
    // The single result of `code` as text (fails the test unless exactly one).
    std::string Eval(const std::string& code);
    // The error message `code` raises (fails the test when it succeeds).
    std::string Error(const std::string& code);

    // Errors the host's error service reported since the test began.
    std::vector<std::string> reportedErrors;

private:
    // Returns 0 on success, leaving the results in `out`; else the error text.
    bool Execute(const std::string& code, std::vector<std::string>& out, std::string& error);

    std::unique_ptr<vyrhost::HostRuntime> mRuntime;
    TestResources* mResources = nullptr;
};

// Text of the value at `index`, as Run reports results.
std::string ValueText(lua_State* L, int index);

} // namespace vyrtest
