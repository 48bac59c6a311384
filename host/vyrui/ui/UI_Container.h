// The container operations of the node tree. Positions are 0-based; a
// position out of range is never an error of the tree: ChildGet gives null,
// ChildSwapOrder and ChildMove do nothing (ChildMove clamps the destination
// into range).
#pragma once

#include "vyrui/ui/UI_Node.h"

namespace vyrui::ui {

class UI_Container {
public:
    static int ChildSize(const UI_Node& parent);
    static UI_Node::Ptr ChildGet(const UI_Node& parent, long long position);
    // Trees are at most this many levels deep, so that walking, drawing and
    // destroying them recursively stays far from the end of the stack.
    static constexpr int kMaxDepth = 1000;

    // Appends `child`, taking it from its old parent first. A node cannot
    // become a child of itself or of its own descendant, nor make the tree
    // deeper than kMaxDepth (HostException).
    static void ChildPushBack(UI_Node& parent, const UI_Node::Ptr& child);
    // Inserts at `position`, clamped into 0..ChildSize.
    static void ChildInsert(UI_Node& parent, long long position, const UI_Node::Ptr& child);
    // False when `child` is not a child of `parent`.
    static bool ChildRemove(UI_Node& parent, UI_Node& child);
    static bool ChildSwapOrder(UI_Node& parent, long long i, long long j);
    static bool ChildMove(UI_Node& parent, long long from, long long to);
    static void DeleteChildren(UI_Node& parent);

private:
    static void Detach(UI_Node& parent, size_t index);
    static int Height(const UI_Node& node);
};

} // namespace vyrui::ui
