#include "vyrundo/UndoStack.h"

#include "vyrcore/config.h"

namespace vyrundo {

struct UndoStack::Step {
    std::u16string name;
    std::vector<std::unique_ptr<Action>> actions;
    std::vector<std::unique_ptr<StateRestorer>> restorers;

    bool Undoable() const
    {
        for (const auto& action : actions)
            if (!action->IsUndoable())
                return false;
        return true;
    }
    bool Redoable() const
    {
        for (const auto& action : actions)
            if (!action->IsRedoable())
                return false;
        return true;
    }
    void RestoreAll()
    {
        for (auto& restorer : restorers)
            restorer->RestoreState();
    }
};

namespace {

// Marks the stack busy for the length of an undo or redo, so actions cannot
// change the lists being walked.
class BusyScope {
public:
    explicit BusyScope(bool& busy) : mBusy(busy) { mBusy = true; }
    ~BusyScope() { mBusy = false; }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    bool& mBusy;
};

} // namespace

UndoStack::UndoStack(std::size_t depthLimit) : mDepthLimit(depthLimit) {}

UndoStack::~UndoStack() = default;

void UndoStack::CheckNotBusy(const char* what) const
{
    if (mBusy)
        throw vyrcore::config::HostException(std::string("cannot ") + what +
                                             " while undoing or redoing");
}

void UndoStack::BeginStep(std::u16string name)
{
    CheckNotBusy("open an undo step");
    if (mOpenDepth++ == 0) {
        mOpen = std::make_unique<Step>();
        mOpen->name = std::move(name);
    }
}

void UndoStack::EndStep()
{
    CheckNotBusy("close an undo step");
    if (mOpenDepth == 0)
        throw vyrcore::config::HostException("EndStep without BeginStep");
    if (--mOpenDepth == 0) {
        std::unique_ptr<Step> step = std::move(mOpen);
        if (!step->actions.empty())
            Record(std::move(step));
    }
}

void UndoStack::AddAction(std::unique_ptr<Action> action)
{
    CheckNotBusy("record an action");
    if (!action)
        return;
    if (mOpen) {
        mOpen->actions.push_back(std::move(action));
        return;
    }
    auto step = std::make_unique<Step>();
    step->name = action->Name();
    step->actions.push_back(std::move(action));
    Record(std::move(step));
}

bool UndoStack::AddRestorer(std::unique_ptr<StateRestorer> restorer)
{
    CheckNotBusy("add a state restorer");
    if (!restorer)
        return false;
    Step* step = mOpen ? mOpen.get() : mUndo.empty() ? nullptr : mUndo.back().get();
    if (step == nullptr)
        return false;
    step->restorers.push_back(std::move(restorer));
    return true;
}

void UndoStack::Record(std::unique_ptr<Step> step)
{
    mRedo.clear();
    if (!step->Undoable()) {
        mUndo.clear();
        return;
    }
    mUndo.push_back(std::move(step));
    Trim();
}

bool UndoStack::Undo()
{
    if (!CanUndo())
        return false;
    BusyScope busy(mBusy);
    // The step changes lists before it runs, so the history stays whole
    // even if an action throws.
    std::unique_ptr<Step> owned = std::move(mUndo.back());
    mUndo.pop_back();
    Step* step = owned.get();
    if (step->Redoable()) {
        mRedo.push_back(std::move(owned));
    } else {
        mRedo.clear();
    }
    for (auto it = step->actions.rbegin(); it != step->actions.rend(); ++it)
        (*it)->Undo();
    step->RestoreAll();
    return true;
}

bool UndoStack::Redo()
{
    if (!CanRedo())
        return false;
    BusyScope busy(mBusy);
    std::unique_ptr<Step> owned = std::move(mRedo.back());
    mRedo.pop_back();
    Step* step = owned.get();
    mUndo.push_back(std::move(owned));
    for (auto& action : step->actions)
        action->Redo();
    step->RestoreAll();
    return true;
}

bool UndoStack::CanUndo() const
{
    return !mBusy && mOpenDepth == 0 && !mUndo.empty();
}

bool UndoStack::CanRedo() const
{
    return !mBusy && mOpenDepth == 0 && !mRedo.empty();
}

std::u16string UndoStack::UndoName() const
{
    return mUndo.empty() ? std::u16string() : mUndo.back()->name;
}

std::u16string UndoStack::RedoName() const
{
    return mRedo.empty() ? std::u16string() : mRedo.back()->name;
}

void UndoStack::SetDepthLimit(std::size_t depthLimit)
{
    CheckNotBusy("change the undo depth");
    mDepthLimit = depthLimit;
    Trim();
}

void UndoStack::Trim()
{
    while (mUndo.size() > mDepthLimit)
        mUndo.pop_front();
}

void UndoStack::Clear()
{
    CheckNotBusy("clear the undo history");
    mUndo.clear();
    mRedo.clear();
    mOpen.reset();
    mOpenDepth = 0;
}

} // namespace vyrundo
