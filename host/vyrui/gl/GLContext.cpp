#include "vyrui/gl/GLContext.h"

#include "vyrcore/config.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#define GL_GLEXT_PROTOTYPES 1
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <sys/mman.h>

namespace vyrui::gl {

namespace {

using vyrcore::config::HostException;

std::string EGLErrorText(const char* what)
{
    char code[16];
    std::snprintf(code, sizeof code, "0x%04X", static_cast<unsigned>(eglGetError()));
    return std::string(what) + " failed (EGL error " + code + ")";
}

// The process's one EGL display, initialised on first use and kept for the
// life of the process (terminating it would pull contexts out from under
// views that are still alive).
struct Display {
    EGLDisplay display = EGL_NO_DISPLAY;
    std::string error;

    Display()
    {
        // Mesa's software rasteriser draws on helper threads unless told
        // otherwise. Views are small, and without helper threads a process
        // that forks (test harnesses, crash handling) can go on drawing in
        // the child. A setting made outside is kept.
        setenv("LP_NUM_THREADS", "0", 0);
        // Surfaceless first: it needs no window system and no device, so it
        // works on a headless machine with the software rasteriser.
        auto getPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
            eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (getPlatformDisplay)
            display = getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        EGLint major = 0;
        EGLint minor = 0;
        if (display == EGL_NO_DISPLAY || !eglInitialize(display, &major, &minor)) {
            display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
            if (display == EGL_NO_DISPLAY || !eglInitialize(display, &major, &minor)) {
                display = EGL_NO_DISPLAY;
                error = EGLErrorText("initialising an EGL display");
                return;
            }
        }
        const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
        if (!extensions || !std::strstr(extensions, "EGL_KHR_surfaceless_context") ||
            !std::strstr(extensions, "EGL_KHR_no_config_context")) {
            error = "the EGL display cannot make contexts without a window";
            display = EGL_NO_DISPLAY;
            return;
        }
        if (!eglBindAPI(EGL_OPENGL_API)) {
            error = EGLErrorText("choosing desktop OpenGL");
            display = EGL_NO_DISPLAY;
        }
    }
};

Display& TheDisplay()
{
    static Display display;
    return display;
}

// The contexts alive, by their EGL context, and the client memory they hold.
struct Registry {
    std::mutex mutex;
    std::map<EGLContext, GLContext*> contexts;
    std::atomic<std::size_t> clientBytes{0};
};

Registry& Contexts()
{
    static Registry registry;
    return registry;
}

} // namespace

std::string GLContext::Unavailable()
{
    return TheDisplay().error;
}

GLContext::GLContext()
{
    Display& d = TheDisplay();
    if (d.display == EGL_NO_DISPLAY)
        throw HostException("OpenGL is not available: " + d.error);
    eglBindAPI(EGL_OPENGL_API);
    // No version asked: the compatibility profile, where the fixed-function
    // pipeline lives.
    const EGLint attributes[] = {EGL_NONE};
    mContext = eglCreateContext(d.display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    if (mContext == EGL_NO_CONTEXT)
        throw HostException("OpenGL is not available: " + EGLErrorText("creating a context"));
    try {
        std::lock_guard lock(Contexts().mutex);
        Contexts().contexts[mContext] = this;
    } catch (...) {
        eglDestroyContext(d.display, mContext);
        throw;
    }
}

GLContext::~GLContext()
{
    {
        std::lock_guard lock(Contexts().mutex);
        Contexts().contexts.erase(mContext);
    }
    for (const auto& [kind, block] : mClientMemory)
        Contexts().clientBytes -= block.get_deleter().size;
    EGLDisplay display = TheDisplay().display;
    if (mFramebuffer != 0) {
        // Frame buffer objects belong to the context: delete them with it current.
        EGLContext previous = eglGetCurrentContext();
        if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext)) {
            DeleteFramebuffer();
            if (previous != mContext && previous != EGL_NO_CONTEXT)
                eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, previous);
        }
    }
    if (eglGetCurrentContext() == mContext)
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display, mContext);
}

void GLContext::MakeCurrent()
{
    if (eglGetCurrentContext() != mContext &&
        !eglMakeCurrent(TheDisplay().display, EGL_NO_SURFACE, EGL_NO_SURFACE, mContext))
        throw HostException(EGLErrorText("making the OpenGL context current"));
    if (mFramebuffer != 0)
        glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
}

GLContext* GLContext::Current()
{
    EGLContext current = eglGetCurrentContext();
    if (current == EGL_NO_CONTEXT)
        return nullptr;
    std::lock_guard lock(Contexts().mutex);
    auto found = Contexts().contexts.find(current);
    return found == Contexts().contexts.end() ? nullptr : found->second;
}

void GLContext::Unmap::operator()(std::uint8_t* block) const noexcept
{
    munmap(block, size);
}

void* GLContext::SetClientMemory(unsigned kind, std::size_t bytes)
{
    bytes = std::max<std::size_t>(bytes, 1);
    // Zeroed, and at a new address: OpenGL may still hold the old one.
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED)
        throw std::bad_alloc();
    std::unique_ptr<std::uint8_t, Unmap> fresh(static_cast<std::uint8_t*>(mapped), Unmap{bytes});
    auto& block = mClientMemory[kind];
    Contexts().clientBytes += bytes;
    Contexts().clientBytes -= block.get_deleter().size;
    block = std::move(fresh);
    return block.get();
}

void* GLContext::GetClientMemory(unsigned kind, std::size_t* bytes) const
{
    auto found = mClientMemory.find(kind);
    *bytes = found == mClientMemory.end() ? 0 : found->second.get_deleter().size;
    return found == mClientMemory.end() ? nullptr : found->second.get();
}

void GLContext::FreeClientMemory(unsigned kind)
{
    auto found = mClientMemory.find(kind);
    if (found == mClientMemory.end())
        return;
    Contexts().clientBytes -= found->second.get_deleter().size;
    mClientMemory.erase(found);
}

std::size_t GLContext::ClientMemorySizeAt(const void* pointer) const
{
    for (const auto& [kind, block] : mClientMemory) {
        if (block.get() == pointer)
            return block.get_deleter().size;
    }
    return 0;
}

std::size_t GLContext::HeldClientMemory()
{
    return Contexts().clientBytes;
}

bool GLContext::IsCurrent() const
{
    return eglGetCurrentContext() == mContext;
}

void GLContext::DeleteFramebuffer()
{
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &mFramebuffer);
    GLuint renderbuffers[] = {mColor, mDepthStencil};
    glDeleteRenderbuffers(2, renderbuffers);
    mFramebuffer = mColor = mDepthStencil = 0;
    mWidth = mHeight = 0;
}

void GLContext::SetFramebufferSize(int width, int height)
{
    MakeCurrent();
    GLint limit = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &limit);
    int most = std::clamp(static_cast<int>(limit), 1, kMaxSide);
    width = std::clamp(width, 1, most);
    height = std::clamp(height, 1, most);
    if (mFramebuffer != 0 && width == mWidth && height == mHeight)
        return;
    if (mFramebuffer != 0)
        DeleteFramebuffer();
    glGenFramebuffers(1, &mFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
    glGenRenderbuffers(1, &mColor);
    glBindRenderbuffer(GL_RENDERBUFFER, mColor);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mColor);
    glGenRenderbuffers(1, &mDepthStencil);
    glBindRenderbuffer(GL_RENDERBUFFER, mDepthStencil);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, width, height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                              mDepthStencil);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    // The frame buffer object has no front and back: draw and read its one
    // colour buffer, whatever a script set before.
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        DeleteFramebuffer();
        throw HostException("OpenGL frame buffer of " + std::to_string(width) + "x" +
                            std::to_string(height) + " is not complete");
    }
    mWidth = width;
    mHeight = height;
    glViewport(0, 0, width, height);
}

std::vector<std::uint32_t> GLContext::ReadFrame()
{
    std::vector<std::uint32_t> pixels;
    if (mFramebuffer == 0 || !IsCurrent())
        return pixels;
    const size_t w = static_cast<size_t>(mWidth);
    const size_t h = static_cast<size_t>(mHeight);
    std::vector<std::uint8_t> rgba(w * h * 4);
    glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    // Scripts may have changed how pixels are packed: read tightly packed.
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_PACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_PACK_LSB_FIRST, GL_FALSE);
    glReadPixels(0, 0, mWidth, mHeight, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    glPopClientAttrib();
    pixels.resize(w * h);
    // OpenGL's rows go bottom up; the drawing layer's top down.
    for (size_t y = 0; y < h; ++y) {
        const std::uint8_t* src = rgba.data() + (h - 1 - y) * w * 4;
        std::uint32_t* dst = pixels.data() + y * w;
        for (size_t x = 0; x < w; ++x, src += 4) {
            std::uint32_t a = src[3];
            auto pre = [a](std::uint32_t c) { return (c * a + 127) / 255; };
            dst[x] = a << 24 | pre(src[0]) << 16 | pre(src[1]) << 8 | pre(src[2]);
        }
    }
    return pixels;
}

const void* CurrentContext()
{
    EGLContext context = eglGetCurrentContext();
    return context == EGL_NO_CONTEXT ? nullptr : context;
}

void ClearCurrentContext()
{
    EGLDisplay display = eglGetCurrentDisplay();
    if (display != EGL_NO_DISPLAY)
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

} // namespace vyrui::gl
