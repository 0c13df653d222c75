#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// A file in memory with a path, for readers that take a path: no disk traffic per input.
class MemoryFile {
public:
    MemoryFile() : fd_(memfd_create("nbx-fuzz", 0)), path_("/proc/self/fd/" + std::to_string(fd_)) {
        if (fd_ < 0) std::abort();
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the contents; returns the path.
    const std::string& hold(const std::uint8_t* data, std::size_t size) {
        if (ftruncate(fd_, 0) != 0 || pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size))
            std::abort();
        return path_;
    }
    const std::string& path() const { return path_; }

private:
    int fd_;
    std::string path_;
};
