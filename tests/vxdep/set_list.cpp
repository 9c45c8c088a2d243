// Writes one forward list of the store in the working directory without its inverse entries, which
// the program itself never does: set_list KEY ENTRY...

#include <cstdlib>

#include "vxdependency/store/GeneralDependency.h"

int main(int argc, char** argv) {
    using vexa::vxdependency::GeneralDependency;
    GeneralDependency& store = *GeneralDependency::Instance();
    const GeneralDependency::List entries(argv + 2, argv + argc);
    const bool done =
        store.Open() && store.SetDependency(argv[1], entries, GeneralDependency::kForward);
    store.Close();
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
