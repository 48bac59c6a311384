#include "vyrundo/StateRestorer.h"

namespace vyrundo {

StateRestorer::~StateRestorer() = default;

} // namespace vyrundo
