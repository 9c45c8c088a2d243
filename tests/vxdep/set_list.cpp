// Writes one forward list of the store in the working directory without its inverse entries, which
// the program itself never does: set_list KEY ENTRY... Without entries, it takes the time stamp of
// the file away, as what is about to change the file's list does.

#include <cstdlib>
#include <filesystem>

#include "vxdependency/store/GeneralDependency.h"

int main(int argc, char** argv) {
    using vexa::vxdependency::GeneralDependency;
    GeneralDependency& store = *GeneralDependency::Instance();
    const GeneralDependency::List entries(argv + 2, argv + argc);
    const std::string path = (std::filesystem::current_path() / "res" / argv[1]).string();
    const bool done =
        store.Open() &&
        (entries.empty() ? store.EraseTimeStamp(path)
                         : store.SetDependency(argv[1], entries, GeneralDependency::kForward));
    store.Close();
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
