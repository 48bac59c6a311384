// A drawbot pairs a surface with the supplier that makes brushes, pens,
// paths and fonts for it. Clients that may outlive it (script objects) are
// handed leases, so they can tell when the drawbot has gone.
#pragma once

#include "vyrui/drawbot/DrawbotInterfaces.h"

#include <memory>
#include <vector>

namespace vyrui::drawbot {

class Drawbot;
class PainterCache;

// Valid until the drawbot that issued it is destroyed or the holder ends it.
class DrawbotLease : public vyrcore::utility::RefCountedObject {
public:
    Drawbot* GetDrawbot() const { return mDrawbot; }
    void End() { mDrawbot = nullptr; }

private:
    friend class Drawbot;
    explicit DrawbotLease(Drawbot* drawbot) : mDrawbot(drawbot) {}
    Drawbot* mDrawbot;
};

class Drawbot {
public:
    // `cache` holds the painter's objects for this surface; a drawbot
    // without one makes its own, for this drawing only.
    Drawbot(std::shared_ptr<SupplierInterface> supplier,
            boost::intrusive_ptr<SurfaceInterface> surface,
            std::shared_ptr<PainterCache> cache = nullptr);
    ~Drawbot();
    Drawbot(const Drawbot&) = delete;
    Drawbot& operator=(const Drawbot&) = delete;

    SupplierInterface* GetSupplier() const { return mSupplier.get(); }
    const std::shared_ptr<SupplierInterface>& GetSupplierPtr() const { return mSupplier; }
    SurfaceInterface* GetSurface() const { return mSurface.get(); }
    PainterCache& GetPainterCache();

    // Records a hand-out of this drawbot or its surface.
    boost::intrusive_ptr<DrawbotLease> HandOut();
    // Hand-outs still valid (not ended by their holders).
    std::size_t GetHandOutCount() const;

private:
    std::shared_ptr<SupplierInterface> mSupplier;
    boost::intrusive_ptr<SurfaceInterface> mSurface;
    std::shared_ptr<PainterCache> mCache;
    std::vector<boost::intrusive_ptr<DrawbotLease>> mHandOuts;
};

} // namespace vyrui::drawbot
