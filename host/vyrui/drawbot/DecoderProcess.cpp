// Image decoders that cannot be bounded from outside (gdk-pixbuf's loaders,
// librsvg behind them: SVG filters cost minutes on a few hundred bytes, and
// librsvg leaks on entity declarations) run in a child process with a
// processor-time limit (and, without sanitizers, an address-space limit).
// The pixels come back through shared memory; whatever the decoder leaks or
// how it fails, it ends with the child.
#include "vyrui/drawbot/CairoDrawbot.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
#define VYR_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VYR_SANITIZED 1
#endif
#endif

namespace vyrui::drawbot::cairo {

namespace {

// Beyond the processor-time limit, a child that makes no progress (blocked)
// is killed after this long.
constexpr int kWallSeconds = 30;

enum class Outcome : int { Running, Decoded, Failed };

struct Shared {
    Outcome outcome;
    int width;
    int height;
    char message[240];
    // Then width * height ARGB32 pixels, rows packed.
};

constexpr std::size_t kSharedBytes =
    sizeof(Shared) + static_cast<std::size_t>(kMaxSurfacePixels) * 4;

std::uint32_t* PixelsOf(Shared* shared)
{
    return reinterpret_cast<std::uint32_t*>(shared + 1);
}

void LimitChild()
{
    rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    rlimit cpu{kMaxDecodeSeconds, kMaxDecodeSeconds + 1};
    setrlimit(RLIMIT_CPU, &cpu);
#ifndef VYR_SANITIZED
    // Sanitizers reserve terabytes of address space: no such limit there.
    // Elsewhere the child may grow this much beyond what it inherited.
    constexpr rlim_t kHeadroomBytes = rlim_t{1} << 30;
    std::size_t pages = 0;
    if (std::ifstream("/proc/self/statm") >> pages) {
        rlim_t bytes = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + kHeadroomBytes;
        rlimit space{bytes, bytes};
        setrlimit(RLIMIT_AS, &space);
    }
#endif
}

[[noreturn]] void RunChild(Shared* shared, const void* bytes, std::size_t size, Decoder decode)
{
    LimitChild();
    try {
        cairo_surface_t* image = decode(bytes, size);
        int width = cairo_image_surface_get_width(image);
        int height = cairo_image_surface_get_height(image);
        int stride = cairo_image_surface_get_stride(image);
        const unsigned char* data = cairo_image_surface_get_data(image);
        for (int y = 0; y < height; ++y)
            std::memcpy(PixelsOf(shared) + static_cast<std::ptrdiff_t>(y) * width,
                        data + static_cast<std::ptrdiff_t>(y) * stride,
                        static_cast<std::size_t>(width) * 4);
        shared->width = width;
        shared->height = height;
        shared->outcome = Outcome::Decoded;
    } catch (const std::exception& e) {
        std::snprintf(shared->message, sizeof shared->message, "%s", e.what());
        shared->outcome = Outcome::Failed;
    } catch (...) {
        std::snprintf(shared->message, sizeof shared->message, "not an image");
        shared->outcome = Outcome::Failed;
    }
    // No exit handlers, no flushing of the parent's buffers, no leak check.
    _exit(0);
}

// Waits until the child closes its end of `fd` (by ending), at most
// kWallSeconds; false on time-out.
bool AwaitEnd(int fd)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kWallSeconds);
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd end{fd, POLLIN, 0};
        int ready = poll(&end, 1, static_cast<int>(left.count()));
        if (ready > 0)
            return true;
        if (ready == 0)
            return false;
        if (errno != EINTR)
            return false;
    }
}

struct Mapping {
    void* address;
    ~Mapping() { munmap(address, kSharedBytes); }
};

} // namespace

cairo_surface_t* DecodeInChildProcess(const void* bytes, std::size_t size, Decoder decode)
{
    void* address = mmap(nullptr, kSharedBytes, PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (address == MAP_FAILED)
        throw std::runtime_error("out of memory for the image");
    Mapping mapping{address};
    auto* shared = new (address) Shared{Outcome::Running, 0, 0, {}};
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot start the image decoder");
    pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        RunChild(shared, bytes, size, decode);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        throw std::runtime_error("cannot start the image decoder");
    }
    const bool ended = AwaitEnd(ends[0]);
    close(ends[0]);
    if (!ended)
        kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    switch (shared->outcome) {
    case Outcome::Decoded:
        if (shared->width >= 1 && shared->height >= 1 && shared->width <= kMaxSurfaceSide &&
            shared->height <= kMaxSurfaceSide &&
            std::int64_t{shared->width} * shared->height <= kMaxSurfacePixels)
            break;
        throw std::runtime_error("the decoder failed");
    case Outcome::Failed: throw std::runtime_error(shared->message);
    case Outcome::Running:
        if (!ended)
            throw std::runtime_error("the decoder did not finish within " +
                                     std::to_string(kWallSeconds) + " s");
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU)
            throw std::runtime_error("decoding takes more than " +
                                     std::to_string(kMaxDecodeSeconds) +
                                     " s of processor time");
        throw std::runtime_error("the decoder failed (out of memory or crashed)");
    }
    cairo_surface_t* image =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, shared->width, shared->height);
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        throw std::runtime_error("out of memory for the image");
    }
    unsigned char* data = cairo_image_surface_get_data(image);
    int stride = cairo_image_surface_get_stride(image);
    for (int y = 0; y < shared->height; ++y)
        std::memcpy(data + static_cast<std::ptrdiff_t>(y) * stride,
                    PixelsOf(shared) + static_cast<std::ptrdiff_t>(y) * shared->width,
                    static_cast<std::size_t>(shared->width) * 4);
    cairo_surface_mark_dirty(image);
    return image;
}

} // namespace vyrui::drawbot::cairo
