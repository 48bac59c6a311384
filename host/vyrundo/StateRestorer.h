// Puts back state that is not itself an undoable change (a selection, a
// scroll position) after a step was undone or redone.
#pragma once

namespace vyrundo {

class StateRestorer {
public:
    StateRestorer() = default;
    virtual ~StateRestorer();
    StateRestorer(const StateRestorer&) = delete;
    StateRestorer& operator=(const StateRestorer&) = delete;

    virtual void RestoreState() = 0;
};

} // namespace vyrundo
