// Implements platform/file_system.h on POSIX: files through file descriptors.
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "core/string.h"
#include "platform/file_system.h"

namespace core::platform {
namespace {

FsError from_errno(int error) {
  switch (error) {
    case ENOENT:
      return FsError::kNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return FsError::kAccess;
    case EEXIST:
    case ENOTEMPTY:
      return FsError::kExists;
    case EISDIR:
      return FsError::kIsDirectory;
    case ENOTDIR:
      return FsError::kNotDirectory;
    case ENOSPC:
    case EDQUOT:
      return FsError::kDeviceFull;
    case EBUSY:
    case ETXTBSY:
      return FsError::kBusy;
    case ENAMETOOLONG:
      return FsError::kNameTooLong;
    case EXDEV:
      return FsError::kCrossDevice;
    default:
      return FsError::kOther;
  }
}

// The path in the system's form; false for a path the system cannot name.
bool native_path(std::u16string_view path, std::string& out) {
  if (path.empty() || path.find(u'\0') != std::u16string_view::npos) return false;
  out = String(path).toUtf8();
  return true;
}

// ENOENT on the way to a file: the file or a directory above it is missing.
FsError missing(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos || slash == 0) return FsError::kNotFound;
  struct stat info {};
  return ::stat(path.substr(0, slash).c_str(), &info) == 0 ? FsError::kNotFound
                                                           : FsError::kDirNotFound;
}

FsError failure(const std::string& path) {
  const int error = errno;
  return error == ENOENT ? missing(path) : from_errno(error);
}

}  // namespace

FsError open_file(std::u16string_view path, OpenMode mode, FileHandle& out) {
  std::string native;
  if (!native_path(path, native)) return FsError::kBadPath;
  int flags = O_CLOEXEC;
  switch (mode) {
    case OpenMode::kRead:
      flags |= O_RDONLY;
      break;
    case OpenMode::kWrite:
      flags |= O_RDWR;
      break;
    case OpenMode::kCreate:
      flags |= O_RDWR | O_CREAT | O_TRUNC;
      break;
    case OpenMode::kAppend:
      flags |= O_RDWR | O_CREAT;
      break;
    case OpenMode::kCreateNew:
      flags |= O_RDWR | O_CREAT | O_EXCL;
      break;
  }
  int fd;
  do {
    fd = ::open(native.c_str(), flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return failure(native);
  // open() of a directory for reading succeeds; a file is wanted.
  struct stat info {};
  if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
    ::close(fd);
    return FsError::kIsDirectory;
  }
  out.fd = fd;
  if (mode == OpenMode::kAppend && ::lseek(fd, 0, SEEK_END) < 0) {
    const FsError error = from_errno(errno);
    close_file(out);
    return error;
  }
  return FsError::kNone;
}

void close_file(FileHandle& file) noexcept {
  if (file.fd >= 0) ::close(file.fd);
  file.fd = -1;
}

FsError read_file(FileHandle file, void* buffer, std::size_t count, std::size_t& read) {
  read = 0;
  while (read < count) {
    const ssize_t n = ::read(file.fd, static_cast<char*>(buffer) + read, count - read);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return from_errno(errno);
    if (n == 0) break;
    read += static_cast<std::size_t>(n);
  }
  return FsError::kNone;
}

FsError write_file(FileHandle file, const void* data, std::size_t count) {
  std::size_t written = 0;
  while (written < count) {
    const ssize_t n = ::write(file.fd, static_cast<const char*>(data) + written, count - written);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return from_errno(errno);
    written += static_cast<std::size_t>(n);
  }
  return FsError::kNone;
}

FsError read_file_at(FileHandle file, std::uint64_t position, void* buffer, std::size_t count,
                     std::size_t& read) {
  read = 0;
  if (position > static_cast<std::uint64_t>(INT64_MAX) - count) return FsError::kOther;
  while (read < count) {
    const ssize_t n = ::pread(file.fd, static_cast<char*>(buffer) + read, count - read,
                              static_cast<off_t>(position + read));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return from_errno(errno);
    if (n == 0) break;
    read += static_cast<std::size_t>(n);
  }
  return FsError::kNone;
}

FsError write_file_at(FileHandle file, std::uint64_t position, const void* data,
                      std::size_t count) {
  if (position > static_cast<std::uint64_t>(INT64_MAX) - count) return FsError::kOther;
  std::size_t written = 0;
  while (written < count) {
    const ssize_t n = ::pwrite(file.fd, static_cast<const char*>(data) + written, count - written,
                               static_cast<off_t>(position + written));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return from_errno(errno);
    written += static_cast<std::size_t>(n);
  }
  return FsError::kNone;
}

FsError file_position(FileHandle file, std::uint64_t& position) {
  const off_t at = ::lseek(file.fd, 0, SEEK_CUR);
  if (at < 0) return from_errno(errno);
  position = static_cast<std::uint64_t>(at);
  return FsError::kNone;
}

FsError file_length(FileHandle file, std::uint64_t& length) {
  struct stat info {};
  if (::fstat(file.fd, &info) != 0) return from_errno(errno);
  length = static_cast<std::uint64_t>(info.st_size);
  return FsError::kNone;
}

FsError flush_file(FileHandle file) {
  return ::fsync(file.fd) != 0 && errno != EINVAL ? from_errno(errno) : FsError::kNone;
}

FsError make_directory(std::u16string_view path) {
  std::string native;
  if (!native_path(path, native)) return FsError::kBadPath;
  return ::mkdir(native.c_str(), 0777) != 0 ? failure(native) : FsError::kNone;
}

FsError remove_path(std::u16string_view path) {
  std::string native;
  if (!native_path(path, native)) return FsError::kBadPath;
  return ::remove(native.c_str()) != 0 ? failure(native) : FsError::kNone;
}

FsError rename_path(std::u16string_view from, std::u16string_view to) {
  std::string native_from;
  std::string native_to;
  if (!native_path(from, native_from) || !native_path(to, native_to)) return FsError::kBadPath;
  return ::rename(native_from.c_str(), native_to.c_str()) != 0 ? failure(native_from)
                                                               : FsError::kNone;
}

bool path_exists(std::u16string_view path) {
  std::string native;
  if (!native_path(path, native)) return false;
  struct stat info {};
  return ::stat(native.c_str(), &info) == 0;
}

FsError lock_file(FileHandle file, LockKind kind) {
  const int operation = (kind == LockKind::kShared ? LOCK_SH : LOCK_EX) | LOCK_NB;
  for (;;) {
    if (::flock(file.fd, operation) == 0) return FsError::kNone;
    if (errno == EINTR) continue;
    return errno == EWOULDBLOCK ? FsError::kBusy : from_errno(errno);
  }
}

void unlock_file(FileHandle file) noexcept { ::flock(file.fd, LOCK_UN); }

}  // namespace core::platform
