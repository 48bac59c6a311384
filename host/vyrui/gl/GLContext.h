// An offscreen OpenGL context: a desktop (compatibility profile) GL context
// made through EGL with no window, on Mesa's software rasteriser where no GPU
// is present, drawing into a frame buffer object of a chosen size whose
// pixels can be read back for compositing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vyrui::gl {

class GLContext {
public:
    // Throws vyrcore::config::HostException with the reason when no context
    // can be had (no EGL display, no desktop GL).
    GLContext();
    ~GLContext();
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    // Makes the context current on the calling thread and binds its frame
    // buffer (when it has one). Throws HostException on failure.
    void MakeCurrent();
    bool IsCurrent() const;

    // Largest frame buffer side this context accepts.
    static constexpr int kMaxSide = 8192;
    // Gives the frame buffer this size (each side clamped to 1..kMaxSide,
    // and to the implementation's limit) and binds it; makes the context
    // current first. A frame buffer of the same size is kept with its pixels.
    void SetFramebufferSize(int width, int height);
    int Width() const { return mWidth; }
    int Height() const { return mHeight; }

    // The frame buffer's pixels, top row first, as native-endian 32-bit ARGB
    // with premultiplied alpha (the drawing layer's image format); the
    // context must be current. Empty without a frame buffer.
    std::vector<std::uint32_t> ReadFrame();

    // The reason no context can be had in this process, or empty when
    // contexts can be made (tries once, then remembers).
    static std::string Unavailable();

private:
    void DeleteFramebuffer();

    void* mContext = nullptr;
    unsigned mFramebuffer = 0;
    unsigned mColor = 0;
    unsigned mDepthStencil = 0;
    int mWidth = 0;
    int mHeight = 0;
};

// The OpenGL context current on the calling thread (an identity, not to be
// dereferenced), or null.
const void* CurrentContext();
// Releases the current context of the calling thread, if any.
void ClearCurrentContext();

} // namespace vyrui::gl
