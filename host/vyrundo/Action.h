// One undoable change, recorded after it was made.
#pragma once

#include <string>

namespace vyrundo {

class Action {
public:
    // `undoable` false: the change cannot be taken back; recording it ends
    // the undo history (nothing before it can be undone either).
    // `redoable` false: once undone it cannot be made again; undoing it
    // drops the redo history.
    Action(bool undoable, bool redoable, std::u16string name);
    virtual ~Action();
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

    const std::u16string& Name() const { return mName; }
    bool IsUndoable() const { return mUndoable; }
    bool IsRedoable() const { return mRedoable; }

    // What the undo stack calls.
    void Undo() { UndoSelf(); }
    void Redo() { RedoSelf(); }

protected:
    virtual void UndoSelf() = 0;
    virtual void RedoSelf() = 0;

private:
    bool mUndoable;
    bool mRedoable;
    std::u16string mName;
};

} // namespace vyrundo
