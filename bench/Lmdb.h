#pragma once

#include <lmdb.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace bench {

// Ends the program when a call of LMDB has failed.
inline void Check(int code, const char* what) {
    if (code == MDB_SUCCESS) return;
    std::fprintf(stderr, "%s: %s\n", what, mdb_strerror(code));
    std::exit(1);
}

inline MDB_val ValueOf(std::string_view text) {
    return {text.size(), const_cast<char*>(text.data())};
}

inline std::string_view TextOf(const MDB_val& value) {
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

constexpr const char* kTables[] = {"dependency", "catalogue"};

}  // namespace bench
