// The Lua 5.1 C API as the host kernel provides it.
#pragma once

#include "KzKernel/KzKernel.h"
