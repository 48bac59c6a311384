#include "vyrui/drawbot/Drawbot.h"

#include "vyrui/drawbot/Painter.h"

#include <algorithm>
#include <stdexcept>

namespace vyrui::drawbot {

Drawbot::Drawbot(std::shared_ptr<SupplierInterface> supplier,
                 boost::intrusive_ptr<SurfaceInterface> surface, std::shared_ptr<PainterCache> cache)
    : mSupplier(std::move(supplier)), mSurface(std::move(surface)), mCache(std::move(cache))
{
    if (!mSupplier || !mSurface)
        throw std::invalid_argument("a drawbot needs a supplier and a surface");
}

Drawbot::~Drawbot()
{
    for (auto& lease : mHandOuts)
        lease->End();
}

boost::intrusive_ptr<DrawbotLease> Drawbot::HandOut()
{
    // Leases their holders ended are forgotten here, so a long-lived
    // drawbot that hands out many does not grow without bound.
    std::erase_if(mHandOuts, [](const auto& lease) { return lease->GetDrawbot() == nullptr; });
    boost::intrusive_ptr<DrawbotLease> lease(new DrawbotLease(this));
    mHandOuts.push_back(lease);
    return lease;
}

std::size_t Drawbot::GetHandOutCount() const
{
    return std::count_if(mHandOuts.begin(), mHandOuts.end(),
                         [](const auto& lease) { return lease->GetDrawbot() != nullptr; });
}

} // namespace vyrui::drawbot

namespace vyrui::drawbot {

PainterCache& Drawbot::GetPainterCache()
{
    if (!mCache)
        mCache = std::make_shared<PainterCache>();
    return *mCache;
}

} // namespace vyrui::drawbot
