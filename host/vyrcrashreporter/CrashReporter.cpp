#include "vyrcrashreporter/CrashReporter.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <csignal>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace vyrcrashreporter {

namespace {

// What the signal handler reads. The report text is rebuilt on every change
// and published through an atomic pointer, so the handler only reads a
// finished buffer and calls async-signal-safe functions.
struct State {
    std::mutex mutex;
    std::vector<std::pair<std::string, std::string>> data;
    std::atomic<const std::string*> report{nullptr};
    // The published buffer and the one before it: a handler that loaded the
    // old pointer just before a swap may still be reading it. Older ones go.
    std::unique_ptr<std::string> current;
    std::unique_ptr<std::string> previous;
    char path[4096] = {};
};

State& Instance()
{
    static State state;
    return state;
}

void WriteAll(int fd, const char* text, size_t length)
{
    while (length > 0) {
        ssize_t n = write(fd, text, length);
        if (n <= 0)
            return;
        text += n;
        length -= static_cast<size_t>(n);
    }
}

void OnFatalSignal(int signal)
{
    State& state = Instance();
    int fd = open(state.path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd >= 0) {
        const char* name = strsignal(signal);
        WriteAll(fd, "signal: ", 8);
        WriteAll(fd, name, strlen(name));
        WriteAll(fd, "\n", 1);
        if (const std::string* report = state.report.load())
            WriteAll(fd, report->data(), report->size());
        WriteAll(fd, "backtrace:\n", 11);
        void* frames[64];
        int count = backtrace(frames, 64);
        backtrace_symbols_fd(frames, count, fd);
        close(fd);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

CrashReporter& CrashReporter::GetInstance()
{
    static CrashReporter instance;
    return instance;
}

void CrashReporter::AddData(const std::string& key, const std::string& value)
{
    State& state = Instance();
    std::lock_guard lock(state.mutex);
    auto& data = state.data;
    auto it = std::find_if(data.begin(), data.end(), [&](auto& kv) { return kv.first == key; });
    if (it != data.end())
        it->second = value;
    else
        data.emplace_back(key, value);

    auto report = std::make_unique<std::string>();
    for (auto& [k, v] : data)
        *report += k + ": " + v + "\n";
    state.report.store(report.get());
    state.previous = std::move(state.current);
    state.current = std::move(report);
}

std::vector<std::pair<std::string, std::string>> CrashReporter::Data() const
{
    std::lock_guard lock(Instance().mutex);
    return Instance().data;
}

bool CrashReporter::InstallHandler(const std::string& reportPath)
{
    if (reportPath.empty() || reportPath.size() >= sizeof(Instance().path))
        return false;
    std::memcpy(Instance().path, reportPath.c_str(), reportPath.size() + 1);
    // backtrace() loads libgcc on first use; do it now, not inside the handler.
    void* frame;
    backtrace(&frame, 1);
    for (int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT})
        std::signal(signal, OnFatalSignal);
    return true;
}

} // namespace vyrcrashreporter
