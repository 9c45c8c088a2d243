#include "vxdependency/store/StoreOpening.h"

#include <boost/filesystem/operations.hpp>
#include <cstring>

#include "vexa/common/Log.h"
#include "vxdependency/store/Catalogue.h"
#include "vxdependency/store/RecordTable.h"

namespace vexa::vxdependency {
namespace {

namespace fs = boost::filesystem;

enum class Layout { Ours, None, Other, Unreadable };

bool OpenDatabase(VXDatabase& database, const std::string& directory, std::string& error) {
    if (database.OpenDatabase(directory.c_str(), static_cast<unsigned>(directory.size()), false)) {
        return true;
    }
    error = database.GetError();
    return false;
}

bool MakeDirectory(const std::string& directory, std::string& error) {
    boost::system::error_code failure;
    fs::create_directories(directory, failure);
    if (!failure && fs::is_directory(directory, failure)) return true;
    error = directory + ": " + (failure ? failure.message() : "is no directory");
    return false;
}

// The first of STEM-1, STEM-2... that is not taken.
fs::path FreeName(const std::string& stem) {
    for (int number = 1;; ++number) {
        fs::path name = stem + "-" + std::to_string(number);
        if (!fs::exists(fs::symlink_status(name))) return name;
    }
}

// `why` says it for a person, `suffix` in the name of the file.
bool MoveAside(const std::string& directory, const std::string& suffix, const std::string& why,
               std::string& error) {
    try {
        const fs::path from = fs::path(directory) / "data.mdb";
        const fs::path to = FreeName(from.string() + suffix);
        fs::rename(from, to);
        fs::remove(fs::path(directory) / "lock.mdb");
        LogWarning("%s: %s; it was moved to %s, and a scan will fill a new store",
                   directory.c_str(), why.c_str(), to.filename().c_str());
        return true;
    } catch (const fs::filesystem_error& failure) {
        error =
            directory + ": " + why + ", and it cannot be moved aside: " + failure.code().message();
        return false;
    }
}

bool HasRecords(VXDatabase& database, DatabaseTable table, MDB_txn* transaction, bool& readable) {
    bool found = false;
    const auto stopAtFirst = [&found](std::string_view, std::string_view) {
        found = true;
        return false;
    };
    if (!database.ForEach(table, {}, stopAtFirst, transaction)) readable = false;
    return found;
}

Layout LayoutOf(VXDatabase& database, std::uint32_t& version) {
    const ReadTransaction transaction(database);
    std::string value;
    const int status =
        ReadCatalogueRecord(database, Catalogue::VersionRecordKey(), value, transaction);
    if (status == VXDatabase::kNotFound) {
        bool readable = true;
        const bool used = HasRecords(database, DatabaseTable::Dependency, transaction, readable) ||
                          HasRecords(database, DatabaseTable::Catalogue, transaction, readable);
        return !readable ? Layout::Unreadable : used ? Layout::Other : Layout::None;
    }
    if (status != 0) return Layout::Unreadable;
    if (value.size() != sizeof version) return Layout::Other;
    std::memcpy(&version, value.data(), sizeof version);
    return version == Catalogue::kLayoutVersion ? Layout::Ours : Layout::Other;
}

// Gives an empty database our layout.
bool BeginStore(VXDatabase& database, std::string& error) {
    MDB_txn* const transaction = database.TransBegin();
    if (WriteLayoutVersion(database, transaction)) {
        if (database.TransCommit(transaction)) return true;
    } else {
        database.TransAbort(transaction);
    }
    error = database.GetError();
    database.Close();
    return false;
}

bool Renew(VXDatabase& database, const std::string& directory, const std::string& suffix,
           const std::string& why, std::string& error) {
    return MoveAside(directory, suffix, why, error) && OpenDatabase(database, directory, error) &&
           BeginStore(database, error);
}

bool AdoptLayout(VXDatabase& database, const std::string& directory, std::string& error) {
    std::uint32_t version = 0;
    const Layout layout = LayoutOf(database, version);
    if (layout == Layout::Ours) return true;
    if (layout == Layout::None) return BeginStore(database, error);
    const std::string reason = database.GetError();
    database.Close();
    if (layout == Layout::Unreadable) {
        return Renew(database, directory, ".damaged", "the store is damaged (" + reason + ")",
                     error);
    }
    const std::string found = std::to_string(version);
    return Renew(
        database, directory, ".layout-" + found,
        "the store has layout " + found + " and not " + std::to_string(Catalogue::kLayoutVersion),
        error);
}

}  // namespace

bool OpenStore(VXDatabase& database, const std::string& directory, std::string& error) {
    if (!MakeDirectory(directory, error)) return false;
    if (OpenDatabase(database, directory, error)) {
        return AdoptLayout(database, directory, error);
    }
    return database.IsDamaged() &&
           Renew(database, directory, ".damaged", "the store is damaged (" + error + ")", error);
}

}  // namespace vexa::vxdependency
