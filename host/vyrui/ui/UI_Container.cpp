#include "vyrui/ui/UI_Container.h"

#include "vyrcore/config.h"
#include "vyrui/ui/UI_Binder.h"
#include "vyrui/ui/UI_NodeManager.h"

#include <algorithm>
#include <string>
#include <vector>
#include <utility>

namespace vyrui::ui {

namespace {

bool InRange(long long position, size_t size)
{
    return position >= 0 && static_cast<unsigned long long>(position) < size;
}

// A removed subtree cannot keep the keyboard focus.
void DropFocusInside(UI_Node& removed)
{
    UI_NodeManager* manager = UI_NodeManager::Get(false);
    if (!manager)
        return;
    UI_Node::Ptr focus = manager->GetKeyboardFocusLeafNode();
    if (focus && (focus.get() == &removed || focus->UI_IsChildOf(&removed)))
        manager->ClearKeyboardFocus();
}

// The binder hears of it (held: it may replace itself).
void TellParentChanged(UI_Node& node)
{
    if (boost::intrusive_ptr<UI_Binder> binder{node.UI_GetBinder()})
        binder->UI_OnParentChanged(node);
}

} // namespace

int UI_Container::ChildSize(const UI_Node& parent)
{
    return static_cast<int>(parent.mChildren.size());
}

UI_Node::Ptr UI_Container::ChildGet(const UI_Node& parent, long long position)
{
    if (!InRange(position, parent.mChildren.size()))
        return {};
    return parent.mChildren[static_cast<size_t>(position)];
}

void UI_Container::ChildPushBack(UI_Node& parent, const UI_Node::Ptr& child)
{
    ChildInsert(parent, static_cast<long long>(parent.mChildren.size()), child);
}

void UI_Container::ChildInsert(UI_Node& parent, long long position, const UI_Node::Ptr& child)
{
    if (!child)
        return;
    if (child.get() == &parent || parent.UI_IsChildOf(child.get()))
        throw vyrcore::config::HostException(
            "ChildPushBack: a node cannot become a child of itself or of its own descendant");
    int depth = 0;
    for (const UI_Node* node = &parent; node; node = node->mParent)
        ++depth;
    if (depth + Height(*child) > kMaxDepth)
        throw vyrcore::config::HostException("ChildPushBack: the tree would be more than " +
                                             std::to_string(kMaxDepth) + " levels deep");
    // Held across the move: the old parent may hold the only reference.
    UI_Node::Ptr held = child;
    if (UI_Node* old = child->mParent) {
        auto& siblings = old->mChildren;
        auto it = std::find(siblings.begin(), siblings.end(), child);
        Detach(*old, static_cast<size_t>(it - siblings.begin()));
    }
    auto& children = parent.mChildren;
    position = std::clamp<long long>(position, 0, static_cast<long long>(children.size()));
    children.insert(children.begin() + position, held);
    held->mParent = &parent;
    held->UI_Invalidate();
    TellParentChanged(*held);
}

int UI_Container::Height(const UI_Node& node)
{
    // Iterative: the subtree may come from anywhere.
    int height = 0;
    std::vector<std::pair<const UI_Node*, int>> pending{{&node, 1}};
    while (!pending.empty()) {
        auto [current, level] = pending.back();
        pending.pop_back();
        height = std::max(height, level);
        for (const UI_Node::Ptr& child : current->mChildren)
            pending.emplace_back(child.get(), level + 1);
    }
    return height;
}

void UI_Container::Detach(UI_Node& parent, size_t index)
{
    UI_Node::Ptr child = parent.mChildren[index];
    child->UI_Invalidate();
    DropFocusInside(*child);
    parent.mChildren.erase(parent.mChildren.begin() + static_cast<std::ptrdiff_t>(index));
    child->mParent = nullptr;
    TellParentChanged(*child);
}

bool UI_Container::ChildRemove(UI_Node& parent, UI_Node& child)
{
    if (child.mParent != &parent)
        return false;
    auto& children = parent.mChildren;
    auto it = std::find_if(children.begin(), children.end(),
                           [&](const UI_Node::Ptr& c) { return c.get() == &child; });
    if (it == children.end())
        return false;
    Detach(parent, static_cast<size_t>(it - children.begin()));
    return true;
}

bool UI_Container::ChildSwapOrder(UI_Node& parent, long long i, long long j)
{
    auto& children = parent.mChildren;
    if (!InRange(i, children.size()) || !InRange(j, children.size()))
        return false;
    if (i != j) {
        std::swap(children[static_cast<size_t>(i)], children[static_cast<size_t>(j)]);
        children[static_cast<size_t>(i)]->UI_Invalidate();
        children[static_cast<size_t>(j)]->UI_Invalidate();
    }
    return true;
}

bool UI_Container::ChildMove(UI_Node& parent, long long from, long long to)
{
    auto& children = parent.mChildren;
    if (!InRange(from, children.size()))
        return false;
    size_t f = static_cast<size_t>(from);
    size_t t = static_cast<size_t>(std::clamp<long long>(to, 0, static_cast<long long>(children.size()) - 1));
    if (f < t)
        std::rotate(children.begin() + f, children.begin() + f + 1, children.begin() + t + 1);
    else if (t < f)
        std::rotate(children.begin() + t, children.begin() + f, children.begin() + f + 1);
    if (f != t)
        children[t]->UI_Invalidate();
    return true;
}

void UI_Container::DeleteChildren(UI_Node& parent)
{
    // Taken out first: destroying a child must not see a half-cleared list.
    std::vector<UI_Node::Ptr> children;
    children.swap(parent.mChildren);
    for (const UI_Node::Ptr& child : children) {
        child->mParent = nullptr;
        DropFocusInside(*child);
    }
    parent.UI_Invalidate();
    for (const UI_Node::Ptr& child : children)
        TellParentChanged(*child);
}

} // namespace vyrui::ui
