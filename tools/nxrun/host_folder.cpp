// Files of the host below one folder: see host_folder.h.
#include "host_folder.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// Closes a descriptor at the end of the scope; errno stays as it was.
struct CLOSER {
    int fd;
    ~CLOSER() {
        int saved = errno;
        close(fd);
        errno = saved;
    }
};

// Descriptors of the folders on the way to a file, closed with it.
class DESCENT {
  public:
    explicit DESCENT(int root) : root_(root) {}
    ~DESCENT() {
        while (up()) {}
    }
    int here() const { return way_.empty() ? root_ : way_.back(); }
    bool down(const std::string& part) {
        int next = openat(here(), part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next >= 0) way_.push_back(next);
        return next >= 0;
    }
    bool up() {
        if (way_.empty()) return false;
        CLOSER done{way_.back()};
        way_.pop_back();
        return true;
    }

  private:
    int root_;
    std::vector<int> way_;
};

bool fail(int number) {
    errno = number;
    return false;
}

} // namespace

HOST_FOLDER::HOST_FOLDER(const std::string& path) : wanted_(path) {
    if (!path.empty()) root_ = ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

HOST_FOLDER::~HOST_FOLDER() {
    if (root_ >= 0) close(root_);
}

// The folder that holds the last part of the name, as a new descriptor, and that part. The last part is a plain name:
// neither empty nor "." nor "..".
bool HOST_FOLDER::find(const std::string& name, int& folder, std::string& last) const {
    if (root_ < 0) return fail(EACCES);
    if (name.empty()) return fail(ENOENT);
    if (name[0] == '/') return fail(EACCES);
    DESCENT way(root_);
    size_t begin = 0;
    for (;;) {
        size_t slash = name.find('/', begin);
        std::string part = name.substr(begin, slash - begin);
        bool is_last = slash == std::string::npos;
        if (is_last && (part.empty() || part == "." || part == "..")) return fail(EISDIR);
        if (is_last) {
            last = part;
            // Behind the root itself too, so that the caller can close what it gets.
            folder = openat(way.here(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC);
            return folder >= 0;
        }
        if (part == "..") {
            if (!way.up()) return fail(EACCES);
        } else if (!part.empty() && part != "." && !way.down(part)) {
            return false;
        }
        begin = slash + 1;
    }
}

int HOST_FOLDER::open(const std::string& name, int flags) const {
    int folder;
    std::string last;
    if (!find(name, folder, last)) return -1;
    CLOSER closer{folder};
    // Without blocking on a pipe, and without taking a terminal: neither is a file, and both are turned down below.
    int fd = openat(folder, last.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0) return -1;
    struct stat status {};
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) return fd;
    close(fd);
    errno = S_ISDIR(status.st_mode) ? EISDIR : EACCES;
    return -1;
}

bool HOST_FOLDER::remove(const std::string& name) const {
    int folder;
    std::string last;
    if (!find(name, folder, last)) return false;
    CLOSER closer{folder};
    if (unlinkat(folder, last.c_str(), 0) == 0) return true;
    return (errno == EISDIR || errno == EPERM) && unlinkat(folder, last.c_str(), AT_REMOVEDIR) == 0;
}

bool HOST_FOLDER::rename(const std::string& from, const std::string& to) const {
    int from_folder, to_folder;
    std::string from_last, to_last;
    if (!find(from, from_folder, from_last)) return false;
    CLOSER closer{from_folder};
    if (!find(to, to_folder, to_last)) return false;
    CLOSER to_closer{to_folder};
    return renameat(from_folder, from_last.c_str(), to_folder, to_last.c_str()) == 0;
}
