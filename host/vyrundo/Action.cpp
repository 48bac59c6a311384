#include "vyrundo/Action.h"

namespace vyrundo {

Action::Action(bool undoable, bool redoable, std::u16string name)
    : mUndoable(undoable), mRedoable(redoable), mName(std::move(name))
{
}

Action::~Action() = default;

} // namespace vyrundo
