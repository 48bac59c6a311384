#include "support/ApiExerciser.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace vyrtest {

namespace {

// The values every call may meet. Each entry is {label, value, isNil}.
constexpr const char* kPoolChunk = R"lua(
local big = string.rep("x", 1024 * 1024)
local function raiser(what) return function() error("raised by " .. what, 0) end end
local events = { "__index", "__newindex", "__call", "__tostring", "__eq", "__lt", "__le",
  "__concat", "__unm", "__add", "__sub", "__mul", "__div", "__mod", "__pow", "__len" }
local raisingMeta = {}
for _, e in ipairs(events) do raisingMeta[e] = raiser(e) end
local raisingTable = setmetatable({}, raisingMeta)
local raisingProxy = newproxy(true)
for k, v in pairs(raisingMeta) do getmetatable(raisingProxy)[k] = v end
-- Passes a "has ControlWrapperIdentifier" test while holding no pointer.
local forgedWrapper = newproxy(true)
getmetatable(forgedWrapper).ControlWrapperIdentifier = function() end
local cyclic = {}
cyclic.self, cyclic[1], cyclic.x, cyclic.left = cyclic, cyclic, cyclic, cyclic
local fifty = {}
for i = 1, 50 do fifty[i] = i end
local nan = 0 / 0

-- The moves that run script code in the middle of a call. `receiver` holds
-- the first argument of the call being made (the exerciser sets it).
local receiver, armed = {}, false
local function releaseReceiver()
  local r = receiver[1]
  local meta = r ~= nil and getmetatable(r)
  if type(meta) == "table" then
    local release = rawget(meta, "Release") or rawget(meta, "__gc")
    if type(release) == "function" then pcall(release, r) end
  end
end
local hooks = { receiver = receiver }
-- Garbage whose finalizers release the receiver or raise, run by whatever
-- allocation of the call next steps the collector (while armed).
function hooks.garbage(raise)
  armed = true
  for i = 1, 4 do
    local p = newproxy(true)
    getmetatable(p).__gc = function()
      if not armed then return end
      if raise then error("raised by a finalizer", 0) end
      releaseReceiver()
    end
  end
end
function hooks.disarm() armed = false end
-- Hooks that make the host call them again without end: bound as a node's
-- draw and size hooks, each grows the node and draws its window now, until
-- the host's nesting limit ends the chain (a budget keeps one call short).
local recursing, budget = nil, 0
local function recurseThrough(node)
  if type(node) ~= "userdata" or budget <= 0 then return false end
  budget = budget - 1
  return pcall(function()
    local r = node:UI_GetLocalRectF()
    node:BindVyrOperation("OnDraw", recursing) node:BindVyrOperation("OnSizeChanged", recursing)
    pcall(node.bindGLOperation, node, "draw", recursing)
    node:UI_SetLocalRectF({ left = 0, top = 0, width = r.width % 64 + 1, height = r.height % 64 + 1 })
    node:UI_Invalidate() node:UI_UpdateNow()
  end)
end
function recursing(...)
  for i = select("#", ...), 1, -1 do if recurseThrough((select(i, ...))) then return end end
  recurseThrough(receiver[1])
end
local function startRecursing(...) budget = 70 return recursing(...) end
function hooks.inCoroutine(f, ...)
  local results = { coroutine.resume(coroutine.create(f), ...) }
  if not results[1] then error(results[2], 0) end
  return unpack(results, 2, table.maxn(results))
end
-- Another kind's metatable; the kind's own plus the wrapper mark; the
-- kind's own less the mark.
function hooks.swap(u, name) debug.setmetatable(u, debug.getregistry()[name]) return u end
local function copyMeta(u, mark)
  local meta, copy = getmetatable(u), {}
  for k, v in pairs(meta) do copy[k] = v end
  if meta.__index == meta then copy.__index = copy end
  copy.ControlWrapperIdentifier = mark
  debug.setmetatable(u, copy)
  return u
end
function hooks.forgeMark(u) return copyMeta(u, function() end) end
function hooks.dropMark(u) return copyMeta(u, nil) end

local A, C, H = {}, {}, {}
local function a(label, value) A[#A + 1] = { label, value, value == nil } end
local function h(label, value) H[#H + 1] = { label, value, false } end
local function c(label, value) C[#C + 1] = { label, value, value == nil } end

a("nil", nil) a("true", true) a("false", false)
a("0", 0) a("-0", -0.0) a("-1", -1) a("0.5", 0.5) a("-0.5", -0.5) a("nan", nan)
a("inf", 1 / 0) a("-inf", -1 / 0)
a("2^31", 2 ^ 31) a("-2^31", -2 ^ 31) a("2^31-1", 2 ^ 31 - 1) a("-2^31-1", -2 ^ 31 - 1)
a("2^32+5", 2 ^ 32 + 5) a("2^53+1", 2 ^ 53 + 1) a("-(2^53+1)", -(2 ^ 53 + 1)) a("2^53+2", 2 ^ 53 + 2)
a("2^63", 2 ^ 63) a("-2^63", -2 ^ 63) a("2^64", 2 ^ 64) a("1e300", 1e300) a("-1e300", -1e300)
a("1e-300", 1e-300)
a("'10'", "10") a("'-1'", "-1") a("'0x7fffffff'", "0x7fffffff") a("'1e300'", "1e300")
a("' 2 '", " 2 ") a("'nan'", "nan")
a("''", "") a("1 MB string", big)
a("invalid UTF-8", "\255\254\253") a("bad continuation", "a\195\40b") a("overlong", "\192\175")
a("surrogate", "\237\160\128") a("beyond U+10FFFF", "\244\144\128\128")
a("truncated 2-byte", "abc\195") a("truncated 3-byte", "\226\130") a("truncated 4-byte", "abc\240\159\152")
a("embedded NUL", "a\0b") a("NUL", "\0")
a("pattern '('", "(") a("pattern '['", "[") a("pattern '\\'", "\\") a("pattern 'a{99999}'", "a{2,1}")
a("pattern '(a*)*b'", "(a*)*b") a("pattern '(x+x+)+y'", "(x+x+)+y") a("pattern '\\1'", "(a)|\\2")
a("format '%s%n'", "%s%s%s%n%p%999999d") a("'$$$/'", "$$$/") a("'^1^9^'", "^1^9^")
a("{}", {}) a("{1,2,3}", { 1, 2, 3 }) a("cyclic table", cyclic) a("raising table", raisingTable)
a("rect of extremes", { left = nan, top = 1 / 0, width = 1e300, height = 2 ^ 64 })
a("huge rect", { left = 0, top = 0, width = 2 ^ 31 - 1, height = 2 ^ 31 - 1 })
a("wrapping rect", { left = 2 ^ 31 - 1, top = -2 ^ 31, width = 2 ^ 31 - 1, height = 2 ^ 31 - 1 })
a("negative rect", { left = 0, top = 0, width = -10, height = -10 })
a("point of NaN", { x = nan, y = -1 / 0 })
a("colour of extremes", { red = 1e300, green = -1e300, blue = nan, alpha = 2 ^ 63 })
a("string fields", { left = "a", top = {}, width = "10", height = true, x = "x", red = "r" })
a("matrix of NaN", { nan, nan, nan, nan, nan, nan, nan, nan, nan })
a("matrix of 8", { 1, 0, 0, 0, 1, 0, 0, 0 })
a("matrix rows", { { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 } })
a("matrix of tables", { {}, {}, {}, {}, {}, {}, {}, {}, {} })
a("raising function", raiser("a function argument"))
a("function returning 50 values", function() return unpack(fifty) end)
a("yielding function", function() coroutine.yield(1) end)
a("coroutine", coroutine.create(function() end))
a("newproxy()", newproxy()) a("raising newproxy", raisingProxy) a("forged wrapper", forgedWrapper)
-- Fields read through these release the receiver or collect: a body that
-- keeps a pointer across the read must find out the object is gone.
h("table releasing the receiver", setmetatable({}, { __index = function() releaseReceiver() return 1 end }))
h("table collecting", setmetatable({}, { __index = function() collectgarbage() return 1 end }))
h("table releasing and collecting", setmetatable({}, {
  __index = function() releaseReceiver() collectgarbage() return 1 end }))
h("function releasing the receiver", function() releaseReceiver() collectgarbage() return true end)
h("function recursing through the host", startRecursing)
h("table recursing through the host", setmetatable({}, { __index = function() startRecursing() return 1 end }))

c("1", 1) c("'hello'", "hello")
c("rect", { left = 1, top = 2, width = 30, height = 20 }) c("point", { x = 3, y = 4 })
c("colour", { red = 0.25, green = 0.5, blue = 0.75, alpha = 1 })
c("matrix", { 1, 0, 0, 0, 1, 0, 0, 0, 1 })
c("function", function() end) c("true", true)
c("0", 0) c("10", 10) c("'1'", "1") c("''", "") c("{}", {}) c("{1,2,3}", { 1, 2, 3 })
c("false", false) c("function returning true", function() return true end)
c("'vyrlua.test'", "vyrlua.test") c("100", 100) c("0.5", 0.5) c("nil", nil)
return A, C, H, hooks
)lua";

constexpr const char* kCheckChunk = R"lua(
local pcall, error, create, resume, yield, collect =
  pcall, error, coroutine.create, coroutine.resume, coroutine.yield, collectgarbage
return function(full)
  local ok, message = pcall(error, "probe", 0)
  if ok or message ~= "probe" then return "pcall no longer works" end
  local co = create(function(a) local b = yield(a + 1) return b * 2 end)
  local ok1, r1 = resume(co, 1)
  local ok2, r2 = resume(co, 5)
  if not (ok1 and r1 == 2 and ok2 and r2 == 10) then return "coroutines no longer work" end
  if full then collect("collect") end
  return nil
end
)lua";

// Set while a checked call runs; read by the trampoline.
struct Probe {
    lua_CFunction target = nullptr;
    bool returned = false;
    int count = 0;
    int top = 0;
};

char gProbeKey;    // address used as the registry key of the probe
char gNilMarker;   // stands for nil in the value table

// Calls the target from a C frame of its own, so the count it returns can be
// compared with what it actually left on the stack. It carries the target's
// upvalues at the same indices.
int Trampoline(lua_State* L)
{
    lua_pushlightuserdata(L, &gProbeKey);
    lua_rawget(L, LUA_REGISTRYINDEX);
    auto* probe = static_cast<Probe*>(lua_touserdata(L, -1));
    lua_pop(L, 1);
    const int count = probe->target(L);
    const int top = lua_gettop(L);
    probe->returned = true;
    probe->count = count;
    probe->top = top;
    if (count < 0 || count > top) {
        lua_settop(L, 0);
        return 0;
    }
    return count;
}

// Replaces the C function on top by a trampoline with the same upvalues.
void WrapInTrampoline(lua_State* L)
{
    const int function = lua_gettop(L);
    int upvalues = 0;
    while (lua_getupvalue(L, function, upvalues + 1) != nullptr)
        ++upvalues;
    lua_pushcclosure(L, Trampoline, upvalues);
    lua_replace(L, function);
}

// "bad argument #3 to ..." -> 3; 0 when the message blames no argument.
int BlamedArgument(const std::string& error)
{
    const std::string mark = "bad argument #";
    size_t at = error.find(mark);
    if (at == std::string::npos)
        return 0;
    return std::atoi(error.c_str() + at + mark.size());
}

} // namespace

ApiExerciser::ApiExerciser(lua_State* L, const Inventory& inventory)
    : mL(L), mInventory(inventory)
{
    mOpenErrors = OpenAll(L, inventory);
    BuildPool();
}

ApiExerciser::~ApiExerciser()
{
    // The state may already be closed by its owner: touch nothing then.
}

void ApiExerciser::BuildPool()
{
    lua_State* L = mL;
    const int top = lua_gettop(L);
    lua_newtable(L);
    mValuesRef = luaL_ref(L, LUA_REGISTRYINDEX);
    lua_newtable(L);
    mSentinelRef = luaL_ref(L, LUA_REGISTRYINDEX);

    if (luaL_loadbuffer(L, kCheckChunk, std::strlen(kCheckChunk), "=health") != 0 ||
        lua_pcall(L, 0, 1, 0) != 0)
        throw std::runtime_error(std::string("health check: ") + lua_tostring(L, -1));
    mCheckRef = luaL_ref(L, LUA_REGISTRYINDEX);

    if (luaL_loadbuffer(L, kPoolChunk, std::strlen(kPoolChunk), "=pool") != 0 ||
        lua_pcall(L, 0, 4, 0) != 0)
        throw std::runtime_error(std::string("value pool: ") + lua_tostring(L, -1));
    mHooksRef = luaL_ref(L, LUA_REGISTRYINDEX);
    for (int list = 0; list < 3; ++list) {
        const int table = top + 1 + list;
        const int n = static_cast<int>(lua_objlen(L, table));
        for (int i = 1; i <= n; ++i) {
            lua_rawgeti(L, table, i);
            lua_rawgeti(L, -1, 1);
            std::string label = lua_tostring(L, -1);
            lua_pop(L, 1);
            lua_rawgeti(L, -1, 3);
            bool isNil = lua_toboolean(L, -1);
            lua_pop(L, 1);
            if (isNil)
                lua_pushlightuserdata(L, &gNilMarker);
            else
                lua_rawgeti(L, -1, 2);
            lua_remove(L, -2);
            const ValueKind kind = list == 0   ? ValueKind::Adversarial
                                   : list == 1 ? ValueKind::Candidate
                                               : ValueKind::Hostile;
            size_t id = AddValue(label, kind);
            (list == 1 ? mCandidates : mAdversarial).push_back(id);
        }
    }
    lua_settop(L, top);

    // Light userdata cannot be made from Lua.
    lua_pushlightuserdata(L, nullptr);
    mAdversarial.push_back(AddValue("light userdata NULL", ValueKind::Adversarial));
    static char somewhere[16];
    lua_pushlightuserdata(L, somewhere);
    mAdversarial.push_back(AddValue("light userdata", ValueKind::Adversarial));
}

size_t ApiExerciser::AddValue(std::string label, ValueKind kind, std::string metatable)
{
    lua_rawgeti(mL, LUA_REGISTRYINDEX, mValuesRef);
    lua_insert(mL, -2);
    const size_t id = mValues.size();
    lua_rawseti(mL, -2, static_cast<int>(id + 1));
    lua_pop(mL, 1);
    mValues.push_back({std::move(label), kind, std::move(metatable)});
    return id;
}

bool ApiExerciser::AdoptInstance()
{
    const std::string kind = MetatableNameAt(-1);
    if (kind.empty()) {
        lua_pop(mL, 1);
        return false;
    }
    mInstances[kind].push_back(AddValue(kind + " instance", ValueKind::Instance, kind));
    return true;
}

size_t ApiExerciser::NumberValue(lua_Number n)
{
    auto it = mNumbers.find(n);
    if (it != mNumbers.end())
        return it->second;
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", n);
    lua_pushnumber(mL, n);
    const size_t id = AddValue(text, ValueKind::Adversarial);
    mNumbers.emplace(n, id);
    return id;
}

void ApiExerciser::PushValue(size_t id)
{
    lua_rawgeti(mL, LUA_REGISTRYINDEX, mValuesRef);
    lua_rawgeti(mL, -1, static_cast<int>(id + 1));
    lua_remove(mL, -2);
    if (lua_touserdata(mL, -1) == &gNilMarker && lua_islightuserdata(mL, -1)) {
        lua_pop(mL, 1);
        lua_pushnil(mL);
    }
}

std::string ApiExerciser::Describe(size_t index, const std::vector<size_t>& args) const
{
    std::string text = mInventory.callables[index].label + "(";
    for (size_t i = 0; i < args.size(); ++i)
        text += (i ? ", " : "") + mValues[args[i]].label;
    return text + ")";
}

void ApiExerciser::PushHook(const char* name)
{
    lua_rawgeti(mL, LUA_REGISTRYINDEX, mHooksRef);
    lua_getfield(mL, -1, name);
    lua_remove(mL, -2);
}

void ApiExerciser::SetReceiver(std::optional<size_t> id)
{
    PushHook("receiver");
    if (id)
        PushValue(*id);
    else
        lua_pushnil(mL);
    lua_rawseti(mL, -2, 1);
    lua_pop(mL, 1);
}

bool ApiExerciser::Fragile(size_t index, const std::vector<size_t>& args) const
{
    auto fragile = [&](const std::string& kind) {
        return std::find(mFragile.begin(), mFragile.end(), kind) != mFragile.end();
    };
    const auto& own = mInventory.callables[index].metatables;
    return std::any_of(own.begin(), own.end(), fragile) ||
           std::any_of(args.begin(), args.end(),
                       [&](size_t id) { return fragile(mValues[id].metatable); });
}

bool ApiExerciser::Hostile(const std::vector<size_t>& args) const
{
    return std::any_of(args.begin(), args.end(), [&](size_t id) {
        return mValues[id].kind == ValueKind::Hostile || mValues[id].kind == ValueKind::Disguised;
    });
}

CallOutcome ApiExerciser::CallTwisted(size_t index, const std::vector<size_t>& args, Twist twist)
{
    mTwist = twist;
    CallOutcome outcome = Call(index, args);
    mTwist = {};
    return outcome;
}

std::string ApiExerciser::HealthCheck(bool collect)
{
    lua_State* L = mL;
    const int top = lua_gettop(L);
    lua_rawgeti(L, LUA_REGISTRYINDEX, mCheckRef);
    lua_pushboolean(L, collect);
    std::string failure;
    if (lua_pcall(L, 1, 1, 0) != 0)
        failure = std::string("state check raised: ") +
                  (lua_isstring(L, -1) ? lua_tostring(L, -1) : lua_typename(L, lua_type(L, -1)));
    else if (lua_isstring(L, -1))
        failure = lua_tostring(L, -1);
    lua_settop(L, top);
    return failure;
}

std::string ApiExerciser::MetatableNameAt(int index) const
{
    lua_State* L = mL;
    if (lua_type(L, index) != LUA_TUSERDATA || !lua_getmetatable(L, index))
        return {};
    std::string found;
    for (const std::string& name : mInventory.metatables) {
        lua_getfield(L, LUA_REGISTRYINDEX, name.c_str());
        bool same = lua_rawequal(L, -1, -2);
        lua_pop(L, 1);
        if (same) {
            found = name;
            break;
        }
    }
    lua_pop(L, 1);
    return found;
}

void ApiExerciser::Harvest(size_t index, const std::vector<size_t>& args, int first, int count)
{
    for (int i = 0; i < count; ++i) {
        std::string kind = MetatableNameAt(first + i);
        if (kind.empty())
            continue;
        auto& ids = mInstances[kind];
        if (ids.size() >= 2)
            continue;
        lua_pushvalue(mL, first + i);
        ids.push_back(AddValue(kind + " instance", ValueKind::Instance, kind));
        if (mRecipes.count(kind) == 0) {
            std::vector<std::string> argKinds;
            for (size_t id : args)
                argKinds.push_back(mValues[id].kind == ValueKind::Instance ? mValues[id].metatable
                                                                          : std::string());
            mRecipes.emplace(kind, Recipe{index, args, argKinds, i + 1});
        }
    }
}

CallOutcome ApiExerciser::Call(size_t index, const std::vector<size_t>& args, bool harvest)
{
    lua_State* L = mL;
    const Callable& callable = mInventory.callables.at(index);
    CallOutcome outcome;
    const int top = lua_gettop(L);
    if (!lua_checkstack(L, static_cast<int>(args.size()) + 8)) {
        outcome.fault = "cannot grow the test's own stack";
        return outcome;
    }

    lua_rawgeti(L, LUA_REGISTRYINDEX, mSentinelRef);
    PushCallable(L, callable);
    if (lua_isnil(L, -1)) {
        lua_settop(L, top);
        outcome.fault = "function is no longer registered";
        return outcome;
    }
    WrapInTrampoline(L);
    if (mTwist.coroutine) {
        PushHook("inCoroutine");
        lua_insert(L, -2);
    }
    for (size_t id : args)
        PushValue(id);
    SetReceiver(args.empty() ? std::nullopt : std::optional<size_t>(args[0]));
    if (mTwist.finalizers != Finalizers::None) {
        PushHook("garbage");
        lua_pushboolean(L, mTwist.finalizers == Finalizers::Raise);
        lua_call(L, 1, 0);
    }
    // Under finalizer pressure every allocation runs a whole collection,
    // finalizers included.
    const int pause = mTwist.finalizers != Finalizers::None ? lua_gc(L, LUA_GCSETPAUSE, 0) : 0;
    const int stepMul =
        mTwist.finalizers != Finalizers::None ? lua_gc(L, LUA_GCSETSTEPMUL, 1 << 20) : 0;
    const int extra = mTwist.coroutine ? 1 : 0;

    Probe probe;
    probe.target = callable.function;
    lua_pushlightuserdata(L, &gProbeKey);
    lua_pushlightuserdata(L, &probe);
    lua_rawset(L, LUA_REGISTRYINDEX);

    ++mCalls;
    if (mWatchdog)
        mWatchdog->Begin(Describe(index, args));
    if (mObserver)
        mObserver(true);
    const int status = lua_pcall(L, static_cast<int>(args.size()) + extra, LUA_MULTRET, 0);
    if (mObserver)
        mObserver(false);
    if (mWatchdog)
        mWatchdog->End();
    if (mTwist.finalizers != Finalizers::None) {
        lua_gc(L, LUA_GCSETPAUSE, pause);
        lua_gc(L, LUA_GCSETSTEPMUL, stepMul);
        PushHook("disarm");
        lua_call(L, 0, 0);
    }
    SetReceiver(std::nullopt);

    lua_pushlightuserdata(L, &gProbeKey);
    lua_pushnil(L);
    lua_rawset(L, LUA_REGISTRYINDEX);

    lua_rawgeti(L, LUA_REGISTRYINDEX, mSentinelRef);
    const bool sentinelKept = lua_rawequal(L, -1, top + 1);
    lua_pop(L, 1);
    if (!sentinelKept) {
        outcome.fault = "the caller's stack slot was overwritten";
    } else if (status == 0) {
        outcome.ok = true;
        outcome.results = lua_gettop(L) - (top + 1);
        if (!probe.returned)
            outcome.fault = "returned without its body returning";
        else if (probe.count < 0 || probe.count > probe.top)
            outcome.fault = "returned " + std::to_string(probe.count) + " results with only " +
                            std::to_string(probe.top) + " values on its stack";
        else if (harvest)
            Harvest(index, args, top + 2, outcome.results);
        for (int r = 0; r < outcome.results; ++r) {
            const int at = top + 2 + r;
            switch (lua_type(L, at)) {
            case LUA_TNUMBER: {
                char text[64];
                std::snprintf(text, sizeof text, "%.17g", lua_tonumber(L, at));
                outcome.values.emplace_back(text);
                break;
            }
            case LUA_TSTRING: {
                size_t length = 0;
                const char* bytes = lua_tolstring(L, at, &length);
                outcome.values.emplace_back(bytes, length);
                break;
            }
            case LUA_TBOOLEAN: outcome.values.emplace_back(lua_toboolean(L, at) ? "true" : "false"); break;
            default: outcome.values.emplace_back(lua_typename(L, lua_type(L, at)));
            }
        }
        for (int r = 0; r < outcome.results && r < 2 && !mStash.empty(); ++r) {
            lua_rawgeti(L, LUA_REGISTRYINDEX, mValuesRef);
            lua_pushvalue(L, top + 2 + r);
            lua_rawseti(L, -2, static_cast<int>(mStash[mNextStash] + 1));
            lua_pop(L, 1);
            mNextStash = (mNextStash + 1) % mStash.size();
        }
    } else if (lua_gettop(L) != top + 2) {
        outcome.fault = "unbalanced stack after an error";
    } else if (lua_type(L, -1) != LUA_TSTRING) {
        outcome.fault = std::string("error value is a ") + lua_typename(L, lua_type(L, -1));
    } else {
        outcome.error = lua_tostring(L, -1);
    }
    lua_settop(L, top);

    if (outcome.fault.empty())
        outcome.fault = HealthCheck(mCollectEachCall);
    if (!outcome.fault.empty())
        outcome.fault = Describe(index, args) + ": " + outcome.fault;
    return outcome;
}

int ApiExerciser::Rank(const CallOutcome& outcome, int position) const
{
    if (outcome.ok)
        return 3;
    const int blamed = BlamedArgument(outcome.error);
    if (blamed > position)
        return 2;
    return blamed == 0 ? 1 : 0;
}

std::vector<size_t> ApiExerciser::CandidatesFor(size_t index, int position)
{
    const Callable& callable = mInventory.callables[index];
    std::vector<size_t> ids;
    if (callable.method && position == 1) {
        for (const std::string& kind : callable.metatables) {
            if (auto fresh = FreshInstance(kind))
                ids.push_back(*fresh);
            else if (auto it = mInstances.find(kind); it != mInstances.end())
                ids.insert(ids.end(), it->second.begin(), it->second.end());
        }
    }
    for (size_t id : mCandidates) {
        ids.push_back(id);
        if (mValues[id].label == "true") {
            // Instances of every kind after the plain values.
            for (const auto& [kind, instances] : mInstances)
                ids.push_back(instances.front());
        }
    }
    return ids;
}

std::vector<size_t> ApiExerciser::Baseline(size_t index, int arity, bool fresh)
{
    auto key = std::make_pair(index, arity);
    auto cached = mBaselines.find(key);
    if (cached == mBaselines.end()) {
        std::vector<size_t> args;
        bool succeeds = false;
        if (arity == 0) {
            succeeds = Call(index, {}, true).ok;
        } else {
            args = Baseline(index, arity - 1);
            args.push_back(mCandidates.front());
            const bool shorterSucceeds = BaselineSucceeds(index, arity - 1);
            // A shorter valid call only needs the new position searched;
            // otherwise every position is searched again, twice at most.
            const int passes = shorterSucceeds ? 1 : 2;
            for (int pass = 0; pass < passes && !succeeds; ++pass) {
                const int from = (pass == 0 && shorterSucceeds) ? arity : 1;
                for (int position = from; position <= arity; ++position) {
                    int bestRank = -1;
                    size_t best = args[position - 1];
                    for (size_t candidate : CandidatesFor(index, position)) {
                        args[position - 1] = candidate;
                        CallOutcome outcome = Call(index, args, true);
                        int rank = Rank(outcome, position);
                        if (rank > bestRank) {
                            bestRank = rank;
                            best = candidate;
                        }
                        if (rank == 3)
                            break;
                    }
                    args[position - 1] = best;
                    succeeds = bestRank == 3;
                }
            }
        }
        cached = mBaselines.emplace(key, CachedBaseline{args, succeeds}).first;
    }
    std::vector<size_t> args = cached->second.args;
    const Callable& callable = mInventory.callables[index];
    if (fresh && callable.method && !args.empty()) {
        const std::string& kind = mValues[args[0]].metatable;
        if (mValues[args[0]].kind == ValueKind::Instance && !kind.empty())
            if (auto id = FreshInstance(kind))
                args[0] = *id;
    }
    return args;
}

bool ApiExerciser::BaselineSucceeds(size_t index, int arity) const
{
    auto it = mBaselines.find({index, arity});
    return it != mBaselines.end() && it->second.succeeds;
}

std::optional<size_t> ApiExerciser::FreshInstance(const std::string& metatable, bool ownSlot)
{
    return FreshInstanceAt(metatable, ownSlot, 0);
}

std::optional<size_t> ApiExerciser::AnyInstance(const std::string& metatable)
{
    if (auto it = mInstances.find(metatable); it != mInstances.end() && !it->second.empty())
        return it->second.front();
    auto made = FreshInstanceAt(metatable, true, 0);
    if (made) {
        mValues[*made].label = metatable + " instance";
        mInstances[metatable].push_back(*made);
    }
    return made;
}

std::optional<size_t> ApiExerciser::FreshInstanceAt(const std::string& metatable, bool ownSlot,
                                                    int depth)
{
    auto recipe = mRecipes.find(metatable);
    if (recipe == mRecipes.end() || depth > 4)
        return std::nullopt;
    // Instance arguments are taken from this pool (or made), so a recipe
    // learnt by another exerciser works here too.
    std::vector<size_t> args = recipe->second.args;
    for (size_t i = 0; i < args.size() && i < recipe->second.argKinds.size(); ++i) {
        const std::string& kind = recipe->second.argKinds[i];
        if (kind.empty())
            continue;
        std::optional<size_t> id;
        if (auto it = mInstances.find(kind); it != mInstances.end() && !it->second.empty())
            id = it->second.front();
        else if ((id = FreshInstanceAt(kind, true, depth + 1)))
            mInstances[kind].push_back(*id);
        if (!id)
            return std::nullopt;
        args[i] = *id;
    }
    lua_State* L = mL;
    const int top = lua_gettop(L);
    PushCallable(L, mInventory.callables[recipe->second.callable]);
    for (size_t id : args)
        PushValue(id);
    std::optional<size_t> made;
    ++mCalls;
    if (lua_pcall(L, static_cast<int>(args.size()), LUA_MULTRET, 0) == 0 &&
        lua_gettop(L) - top >= recipe->second.result) {
        lua_pushvalue(L, top + recipe->second.result);
        if (MetatableNameAt(-1) != metatable) {
            lua_pop(L, 1);
        } else if (auto slot = mFreshSlots.find(metatable); !ownSlot && slot != mFreshSlots.end()) {
            // Reusing one slot per kind keeps the pool from growing.
            lua_rawgeti(L, LUA_REGISTRYINDEX, mValuesRef);
            lua_insert(L, -2);
            lua_rawseti(L, -2, static_cast<int>(slot->second + 1));
            lua_pop(L, 1);
            made = slot->second;
        } else {
            made = AddValue("fresh " + metatable, ValueKind::Instance, metatable);
            if (!ownSlot)
                mFreshSlots.emplace(metatable, *made);
        }
    }
    lua_settop(L, top);
    return made;
}

void ApiExerciser::EnableStash(size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        lua_pushboolean(mL, 0);
        mStash.push_back(AddValue("result " + std::to_string(i + 1), ValueKind::Adversarial));
    }
}

std::optional<size_t> ApiExerciser::Variant(const std::string& metatable, unsigned which)
{
    auto it = mVariants.find(metatable);
    if (it == mVariants.end()) {
        MakeVariantsOf(metatable);
        it = mVariants.find(metatable);
    }
    if (it->second.empty())
        return std::nullopt;
    return it->second[which % it->second.size()];
}

void ApiExerciser::DiscoverInstances(int rounds)
{
    // Finding arguments is most of the calls a sweep makes. A full collection
    // after each of them is most of their cost, so here it runs once per
    // callable instead; every call still gets the rest of the state check,
    // and the calls the sweep then makes with what was found collect each.
    const bool collectEachCall = mCollectEachCall;
    mCollectEachCall = false;
    for (int round = 0; round < rounds; ++round) {
        const size_t kindsBefore = mInstances.size();
        // Module functions first: they hold the constructors.
        for (int methods = 0; methods < 2; ++methods) {
            for (size_t i = 0; i < mInventory.callables.size(); ++i) {
                if (mInventory.callables[i].method != (methods == 1))
                    continue;
                for (int arity = 0; arity <= 4; ++arity) {
                    if (round > 0 && BaselineSucceeds(i, arity))
                        continue;
                    mBaselines.erase({i, arity});
                    Baseline(i, arity);
                }
                if (collectEachCall)
                    if (std::string fault = HealthCheck(true); !fault.empty())
                        mDiscoveryFaults.push_back(mInventory.callables[i].label + ": " + fault);
            }
        }
        if (mInstances.size() == kindsBefore)
            break;
    }
    mCollectEachCall = collectEachCall;
    MakeVariants();
}

std::vector<std::string> ApiExerciser::KindsWithInstances() const
{
    std::vector<std::string> kinds;
    for (const auto& entry : mInstances)
        kinds.push_back(entry.first);
    return kinds;
}

void ApiExerciser::MakeVariants()
{
    for (const std::string& kind : mInventory.metatables)
        if (mVariants.count(kind) == 0)
            MakeVariantsOf(kind);
}

void ApiExerciser::MakeVariantsOf(const std::string& kind)
{
    lua_State* L = mL;
    auto& variants = mVariants[kind];
    // Forged: a userdata with the kind's metatable but a block too small to
    // hold what the kind keeps (debug.setmetatable makes these).
    for (size_t size : {size_t{0}, size_t{1}}) {
        lua_newuserdata(L, size);
        lua_getfield(L, LUA_REGISTRYINDEX, kind.c_str());
        lua_setmetatable(L, -2);
        variants.push_back(AddValue("forged " + kind + " of " + std::to_string(size) + " byte",
                                    ValueKind::Forged, kind));
    }
    lua_getfield(L, LUA_REGISTRYINDEX, kind.c_str());
    const int meta = lua_gettop(L);
    for (const char* method : {"Release", "__gc"}) {
        lua_getfield(L, meta, method);
        const bool present = lua_isfunction(L, -1);
        lua_pop(L, 1);
        if (!present)
            continue;
        std::optional<size_t> fresh = FreshInstance(kind, true);
        if (!fresh)
            continue;
        lua_getfield(L, meta, method);
        PushValue(*fresh);
        lua_pcall(L, 1, 0, 0);
        lua_settop(L, meta);
        const bool gc = std::string(method) == "__gc";
        mValues[*fresh].label = (gc ? "collected " : "released ") + kind;
        mValues[*fresh].kind = gc ? ValueKind::Collected : ValueKind::Released;
        variants.push_back(*fresh);
    }
    // Another kind's metatable on this kind's block (and this kind's on a
    // block of another: that is the other kind's variant), the wrapper mark
    // added to a copy of this kind's metatable, or taken away from it.
    struct Disguise {
        const char* hook;
        std::string argument;
        std::string label;
    };
    std::vector<Disguise> disguises;
    auto fragile = [&](const std::string& name) {
        return std::find(mFragile.begin(), mFragile.end(), name) != mFragile.end();
    };
    if (!fragile(kind)) {
        disguises = {{"forgeMark", {}, "with a forged wrapper mark"},
                     {"dropMark", {}, "with the wrapper mark taken away"}};
        // The next kind in the inventory that is not fragile.
        auto self = std::find(mInventory.metatables.begin(), mInventory.metatables.end(), kind);
        const size_t at = static_cast<size_t>(self - mInventory.metatables.begin());
        for (size_t step = 1; step < mInventory.metatables.size(); ++step) {
            const std::string& other =
                mInventory.metatables[(at + step) % mInventory.metatables.size()];
            if (!fragile(other)) {
                disguises.push_back({"swap", other, "wearing " + other});
                break;
            }
        }
    }
    for (const Disguise& disguise : disguises) {
        std::optional<size_t> fresh = FreshInstance(kind, true);
        if (!fresh)
            break;
        PushHook(disguise.hook);
        PushValue(*fresh);
        lua_pushstring(L, disguise.argument.c_str());
        if (lua_pcall(L, 2, 1, 0) == 0) {
            lua_rawgeti(L, LUA_REGISTRYINDEX, mValuesRef);
            lua_insert(L, -2);
            lua_rawseti(L, -2, static_cast<int>(*fresh + 1));
            mValues[*fresh].label = kind + " " + disguise.label;
            mValues[*fresh].kind = ValueKind::Disguised;
            variants.push_back(*fresh);
        }
        lua_settop(L, meta);
    }
    if (mNodeDestroyer) {
        if (std::optional<size_t> fresh = FreshInstance(kind, true)) {
            PushValue(*fresh);
            const bool destroyed = mNodeDestroyer(L, lua_gettop(L));
            lua_settop(L, meta);
            if (destroyed) {
                mValues[*fresh].label = kind + " whose node is gone";
                mValues[*fresh].kind = ValueKind::Gone;
                variants.push_back(*fresh);
            }
        }
    }
    lua_settop(L, meta - 1);
}

std::vector<size_t> ApiExerciser::AdversarialFor(size_t index, int position) const
{
    std::vector<size_t> ids = mAdversarial;
    const Callable& callable = mInventory.callables[index];
    const bool receiver = callable.method && position == 1;
    // Every kind's instance and variants at the receiver; elsewhere a
    // rotating handful, so all kinds meet every position across arities.
    std::vector<size_t> kinds;
    for (const auto& [kind, instances] : mInstances)
        kinds.push_back(instances.front());
    for (const auto& [kind, variants] : mVariants) {
        bool own = std::find(callable.metatables.begin(), callable.metatables.end(), kind) !=
                   callable.metatables.end();
        if (receiver || own)
            ids.insert(ids.end(), variants.begin(), variants.end());
    }
    constexpr size_t kOthers = 6;
    if (receiver || kinds.size() <= kOthers) {
        ids.insert(ids.end(), kinds.begin(), kinds.end());
    } else {
        for (size_t i = 0; i < kOthers; ++i)
            ids.push_back(kinds[(index * 7 + static_cast<size_t>(position) * kOthers + i) %
                                kinds.size()]);
        // And forged ones of one more kind.
        auto it = mVariants.begin();
        std::advance(it, (index + static_cast<size_t>(position)) % mVariants.size());
        if (!it->second.empty())
            ids.push_back(it->second.front());
    }
    return ids;
}

// ---------------------------------------------------------------------------

struct CallWatchdog::State {
    std::mutex mutex;
    std::condition_variable wake;
    std::chrono::seconds limit;
    std::string what;
    std::chrono::steady_clock::time_point started;
    bool busy = false;
    bool stop = false;
    std::thread thread;
};

CallWatchdog::CallWatchdog(std::chrono::seconds limit) : mState(new State)
{
    mState->limit = limit;
    mState->thread = std::thread([s = mState] {
        std::unique_lock lock(s->mutex);
        while (!s->stop) {
            s->wake.wait_for(lock, std::chrono::seconds(1));
            if (s->busy && std::chrono::steady_clock::now() - s->started > s->limit) {
                std::fprintf(stderr, "call did not return within %lld s: %s\n",
                             static_cast<long long>(s->limit.count()), s->what.c_str());
                std::abort();
            }
        }
    });
}

CallWatchdog::~CallWatchdog()
{
    {
        std::lock_guard lock(mState->mutex);
        mState->stop = true;
    }
    mState->wake.notify_all();
    mState->thread.join();
    delete mState;
}

void CallWatchdog::Begin(const std::string& what)
{
    std::lock_guard lock(mState->mutex);
    mState->what = what;
    mState->started = std::chrono::steady_clock::now();
    mState->busy = true;
}

void CallWatchdog::End()
{
    std::lock_guard lock(mState->mutex);
    mState->busy = false;
}

} // namespace vyrtest
