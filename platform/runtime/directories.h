// Directories on the machine's file system. Thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_DIRECTORIES_H_
#define KETRA_PLATFORM_RUNTIME_DIRECTORIES_H_

#include <string>

namespace ketra::runtime {

// Makes `directory` and every missing directory above it, one '/' at a time: the last with the
// permission bits `mode`, those above it 0755 (less the umask, both). One that exists already
// counts as made. Returns 0, or the errno of the first directory that could not be made, whose
// path then goes to *failed when given.
int MakeDirectories(const std::string& directory, unsigned mode = 0755,
                    std::string* failed = nullptr);

// MakeDirectories for every directory above the file at `path`, the file's own left alone.
int MakeParentDirectories(const std::string& path);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_DIRECTORIES_H_
