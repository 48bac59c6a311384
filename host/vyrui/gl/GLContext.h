// An offscreen OpenGL context: a desktop (compatibility profile) GL context
// made through EGL with no window, on Mesa's software rasteriser where no GPU
// is present, drawing into a frame buffer object of a chosen size whose
// pixels can be read back for compositing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
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

    // The context current on the calling thread when it is one of these, or
    // null.
    static GLContext* Current();

    // Client memory: blocks OpenGL keeps pointers to between calls (vertex
    // arrays, the selection and feedback buffers), one per kind. They belong
    // to the context: OpenGL may use them until it goes, and they go with it.
    //
    // A new zeroed block of `bytes` (at least 1) for `kind`, replacing the
    // old one (a new address: OpenGL may still hold the old one elsewhere).
    void* SetClientMemory(unsigned kind, std::size_t bytes);
    // The block for `kind` and its size, or null and 0.
    void* GetClientMemory(unsigned kind, std::size_t* bytes) const;
    void FreeClientMemory(unsigned kind);
    // The size of the block that starts at `pointer`, or 0 when none does.
    std::size_t ClientMemorySizeAt(const void* pointer) const;
    // Bytes of client memory all contexts of the process hold.
    static std::size_t HeldClientMemory();

private:
    void DeleteFramebuffer();

    // Mapped from the system, so that a freed block goes back at once: the
    // C allocator keeps large freed blocks once it has seen a few.
    struct Unmap {
        std::size_t size = 0;
        void operator()(std::uint8_t* block) const noexcept;
    };
    std::map<unsigned, std::unique_ptr<std::uint8_t, Unmap>> mClientMemory;

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
