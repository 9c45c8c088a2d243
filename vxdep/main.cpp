#include <exception>

#include "vexa/common/Log.h"
#include "vxdep/CommandLine.h"
#include "vxdep/Console.h"
#include "vxdep/Platform.h"

int main(int argc, char** argv) {
    vxdep::PrepareStandardStreams();
    vxdep::ExitCode code = vxdep::ExitCode::Failed;
    try {
        code = vxdep::RunCommandLine(argc, argv);
    } catch (const std::exception& error) {
        vexa::FlushLog();
        vxdep::Console::Instance().Error(error.what());
    }
    return static_cast<int>(code);
}
