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
    std::vector<std::unique_ptr<std::string>> reports; // kept alive for the handler
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
    {
        std::lock_guard lock(Instance().mutex);
        auto& data = Instance().data;
        auto it = std::find_if(data.begin(), data.end(), [&](auto& kv) { return kv.first == key; });
        if (it != data.end())
            it->second = value;
        else
            data.emplace_back(key, value);
    }
    RebuildReport();
}

std::vector<std::pair<std::string, std::string>> CrashReporter::Data() const
{
    std::lock_guard lock(Instance().mutex);
    return Instance().data;
}

void CrashReporter::RebuildReport()
{
    State& state = Instance();
    std::lock_guard lock(state.mutex);
    auto report = std::make_unique<std::string>();
    for (auto& [key, value] : state.data)
        *report += key + ": " + value + "\n";
    state.report.store(report.get());
    // Older buffers stay alive: the handler may be reading one right now.
    state.reports.push_back(std::move(report));
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
