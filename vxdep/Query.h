#pragma once

#include "vxdep/Commands.h"
#include "vxdependency/store/GraphReader.h"

namespace CLI {
class App;
}

namespace vxdep {

// What `deps` and `rdeps` have in common: the options, and answering from the graph.
void AddQueryCommand(CLI::App* command, vexa::vxdependency::Direction direction,
                     const GlobalOptions& options, Action& action);

}  // namespace vxdep
