// Named start-up and shut-down steps that libraries register for the host.
// The application object runs every registered init when it starts and the
// terminates, in reverse order, when it ends. A step registered while the
// host is already running (a library loaded later) is initialised at once.
#pragma once

#include <string>
#include <vector>

namespace vyrcore {

class InitializerRegistrar {
public:
    using Step = void (*)();

    // Registers for as long as this object lives; destroying it runs the
    // terminate step if the init step ran.
    InitializerRegistrar(const char* name, Step init, Step terminate);
    ~InitializerRegistrar();
    InitializerRegistrar(const InitializerRegistrar&) = delete;
    InitializerRegistrar& operator=(const InitializerRegistrar&) = delete;

    static void InitializeAll();
    static void TerminateAll();
    // The registered names, in registration order.
    static std::vector<std::string> Names();
};

} // namespace vyrcore
