#include "CorvaneMain.h"
#include "FailureHandler.h"

#include <eval/gpu/GpuBackend.h>
#include <store/SafeFile.h>
#include <store/ShutdownLifecycle.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>

int main(int argc, char **argv)
{
    installFailureHandler();
    eval::gpu::registerGpuBackend();
    const int status = CorvaneMain::run(argc, argv);
    store::ShutdownLifecycle::instance().finishWork(std::chrono::seconds(5));
    store::SafeFile::removeAllPending(); // what is left to threads that nobody waits for
    std::cout.flush();
    std::cerr.flush();
    std::fflush(stdout);
    std::fflush(stderr);
    // No static destructor and no teardown of Qt may crash or hang a run that is finished.
    std::_Exit(status);
}
