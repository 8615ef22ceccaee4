// The operating system's files, for the "file" scheme: open, read, write,
// create directories, remove and rename. Paths are UTF-16 here and converted
// to the system's own form inside.
#ifndef CORE_SRC_PLATFORM_FILE_SYSTEM_H_
#define CORE_SRC_PLATFORM_FILE_SYSTEM_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace core::platform {

// What went wrong, independent of the system's error numbers.
enum class FsError {
  kNone,
  kNotFound,      // the file does not exist
  kDirNotFound,   // a directory on the way does not exist
  kAccess,        // permission denied, read-only file system
  kExists,        // the file exists where a new one was wanted
  kIsDirectory,   // a directory where a file was wanted
  kNotDirectory,  // a file where a directory was wanted
  kDeviceFull,
  kBusy,  // held by another process
  kNameTooLong,
  kCrossDevice,  // a rename between file systems
  kBadPath,      // an empty path or one with a zero unit
  kOther,
};

enum class OpenMode { kRead, kWrite, kCreate, kAppend, kCreateNew };

// An open file; -1 when closed.
struct FileHandle {
  int fd = -1;
};

// Each returns kNone on success.
FsError open_file(std::u16string_view path, OpenMode mode, FileHandle& out);
void close_file(FileHandle& file) noexcept;
FsError read_file(FileHandle file, void* buffer, std::size_t count, std::size_t& read);
FsError write_file(FileHandle file, const void* data, std::size_t count);
// At `position`, leaving the file's own position where it was.
FsError read_file_at(FileHandle file, std::uint64_t position, void* buffer, std::size_t count,
                     std::size_t& read);
FsError write_file_at(FileHandle file, std::uint64_t position, const void* data, std::size_t count);
FsError file_position(FileHandle file, std::uint64_t& position);
FsError file_length(FileHandle file, std::uint64_t& length);
FsError flush_file(FileHandle file);
FsError make_directory(std::u16string_view path);
// Removes a file or an empty directory.
FsError remove_path(std::u16string_view path);
FsError rename_path(std::u16string_view from, std::u16string_view to);
bool path_exists(std::u16string_view path);

// An advisory lock on a whole file, held by one open of it (other opens in
// the same process conflict with it as other processes do). Taken without
// waiting: kBusy when a conflicting lock is held.
enum class LockKind { kShared, kExclusive };
FsError lock_file(FileHandle file, LockKind kind);
void unlock_file(FileHandle file) noexcept;

}  // namespace core::platform

#endif  // CORE_SRC_PLATFORM_FILE_SYSTEM_H_
