#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The steps of a change of many files that a crash must not tear. Paths are absolute. Those that
// can fail leave their reason in errno. All may be called from any thread.
namespace vexa::os {

// What tells a file from another one that took its name, and from itself after a change. The number
// is the file system's; 0 for what is not there.
struct FileIdentity {
    std::uint64_t number = 0;
    std::int64_t writeTimeNs = 0;
    std::uint64_t size = 0;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// Looks at an entry itself, a link as such. With number 0 when it cannot be looked at.
FileIdentity IdentityOf(const std::string& path);

// True if an entry is there, be it a link that leads nowhere.
bool EntryExists(const std::string& path);

// The file that is written when `path` is: itself, or what a link leads to.
std::string FollowLinks(const std::string& path);

// Whether a file can be replaced by another one, or a new one begun, by us. ENOENT when its folder
// is missing.
bool CanReplace(const std::string& path);
// Whether entries can be added to and taken out of a folder by us.
bool CanChangeFolder(const std::string& folder);

// Makes a folder, in one that is there. True also when it is there already.
bool MakeFolder(const std::string& path);

// Makes a new file with these bytes, and the permissions and owner of the file `like` where that is
// there. Not synced.
bool WriteNewFile(const std::string& path, std::string_view bytes, const std::string& like);

// Gives the contents of a file a second name that stays when the first one is replaced: by a hard
// link, or a synced copy where the file system has none or is another one.
bool KeepContents(const std::string& file, const std::string& kept);

// Puts a file in the place of another one, or where none is, at once.
bool PutInPlace(const std::string& file, const std::string& place);

// Removes a file, a link as such.
bool Remove(const std::string& path);

// Makes what was written to a file, what was done in a folder, or all that was done on the file
// system of a path durable.
bool SyncFile(const std::string& path);
bool SyncFolder(const std::string& path);
bool SyncFileSystem(const std::string& path);

// Tells the file system that the folders in this one have to do with no other, so that they may
// lie anywhere. A hint: not every file system takes it.
void SpreadFolders(const std::string& path);

// Gives a file the present as its time of last write.
bool Touch(const std::string& path);

// Whether both paths are on one file system.
bool SameFileSystem(const std::string& left, const std::string& right);

}  // namespace vexa::os
