// The undo history: named steps of actions and state restorers, undone and
// redone a step at a time.
#pragma once

#include "vyrundo/Action.h"
#include "vyrundo/StateRestorer.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace vyrundo {

class UndoStack {
public:
    // Keeps at most `depthLimit` steps to undo; the oldest go first.
    explicit UndoStack(std::size_t depthLimit = 100);
    ~UndoStack();
    UndoStack(const UndoStack&) = delete;
    UndoStack& operator=(const UndoStack&) = delete;

    // Opens a step; pairs nest, and only the outermost pair makes a step,
    // named by its BeginStep. EndStep records the step unless it is empty;
    // recording drops the redo history. Throws HostException for an EndStep
    // without BeginStep.
    void BeginStep(std::u16string name);
    void EndStep();
    bool IsStepOpen() const { return mOpenDepth > 0; }

    // Adds to the open step; with none open the action is a step of its own,
    // named after it. Throws HostException while undoing or redoing.
    void AddAction(std::unique_ptr<Action> action);
    // Adds to the open step, else to the step that would be undone next.
    // Returns false (and drops the restorer) when there is neither.
    bool AddRestorer(std::unique_ptr<StateRestorer> restorer);

    // Undo takes the last step back: its actions in reverse order, then its
    // restorers. Redo makes it again: actions in order, then restorers. Both
    // return false when there is nothing to do, a step is open, or they are
    // called from inside an action or restorer.
    bool Undo();
    bool Redo();
    bool CanUndo() const;
    bool CanRedo() const;
    std::u16string UndoName() const;
    std::u16string RedoName() const;
    std::size_t UndoCount() const { return mUndo.size(); }
    std::size_t RedoCount() const { return mRedo.size(); }

    std::size_t DepthLimit() const { return mDepthLimit; }
    void SetDepthLimit(std::size_t depthLimit);
    // Drops all history and any open step. Throws HostException while
    // undoing or redoing.
    void Clear();

private:
    struct Step;
    void Record(std::unique_ptr<Step> step);
    void CheckNotBusy(const char* what) const;
    void Trim();

    std::deque<std::unique_ptr<Step>> mUndo; // oldest first
    std::vector<std::unique_ptr<Step>> mRedo; // next to redo last
    std::unique_ptr<Step> mOpen;
    int mOpenDepth = 0;
    bool mBusy = false;
    std::size_t mDepthLimit;
};

} // namespace vyrundo
