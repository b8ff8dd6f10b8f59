// The streams of a running program: see streams.h.
#include "streams.h"

#include "exec.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

// -------------------------------------------------------------------------------------------------------------- modes

bool parse_open_mode(const std::string& text, OPEN_MODE& mode) {
    if (text.empty()) return false;
    switch (text[0]) {
    case 'r': mode.reads = true; break;
    case 'w': mode.writes = mode.creates = mode.truncates = true; break;
    case 'a': mode.writes = mode.creates = mode.appends = true; break;
    default: return false;
    }
    for (size_t i = 1; i < text.size(); ++i) {
        switch (text[i]) {
        case '+': mode.reads = mode.writes = true; break;
        case 'b': mode.binary = true; break;
        case 't': break;
        case 'x': mode.exclusive = true; break;
        default: return false;
        }
    }
    return !mode.exclusive || mode.truncates;
}

int OPEN_MODE::flags() const {
    int flags = !writes ? O_RDONLY : reads ? O_RDWR : O_WRONLY;
    if (creates) flags |= O_CREAT;
    if (truncates) flags |= O_TRUNC;
    if (appends) flags |= O_APPEND;
    if (exclusive) flags |= O_EXCL;
    return flags;
}

const char* OPEN_MODE::text() const {
    if (appends) return reads ? "a+" : "a";
    return !writes ? "r" : reads ? "r+" : "w";
}

// ---------------------------------------------------------------------------------------------------------- one stream

STREAM::STREAM(VM& vm, KIND kind) : vm_(vm), kind_(kind), reads_(kind == INPUT), writes_(!reads_) {}

STREAM::~STREAM() {
    if (file_ != nullptr) fclose(file_);
}

void STREAM::attach(FILE* file, const OPEN_MODE& mode) {
    close();
    kind_ = HOST_FILE;
    file_ = file;
    binary_ = mode.binary;
    reads_ = mode.reads;
    writes_ = mode.writes;
    last_ = NOTHING;
    at_end = failed = false;
}

bool STREAM::close() {
    bool good = kind_ == CLOSED || flush();
    if (file_ != nullptr && fclose(file_) != 0) good = false;
    file_ = nullptr;
    kind_ = CLOSED;
    reads_ = writes_ = false;
    pushed_back_.clear();
    return good;
}

bool STREAM::fault(int number) {
    errno = number;
    failed = true;
    return false;
}

// A file wants to be told before its direction changes.
bool STREAM::turn_to(LAST next) {
    if (file_ != nullptr && last_ != NOTHING && last_ != next && fseeko(file_, 0, SEEK_CUR) != 0) return fault(errno);
    last_ = next;
    return true;
}

int STREAM::get_from_file() {
    int low = getc(file_);
    if (low < 0 || !binary_) return low;
    int high = getc(file_); // a file of an odd length ends as if a zero byte followed
    return low | (high < 0 ? 0 : high << 8);
}

int STREAM::get() {
    if (!reads_) {
        fault(EBADF);
        return -1;
    }
    if (!pushed_back_.empty()) {
        uint16_t c = pushed_back_.back();
        pushed_back_.pop_back();
        return c;
    }
    if (at_end || !turn_to(READ)) return -1;
    int c = kind_ == INPUT ? vm_.read_char() : get_from_file();
    if (c >= 0) return c;
    if (file_ != nullptr && ferror(file_))
        fault(errno);
    else
        at_end = true;
    return -1;
}

bool STREAM::unget(uint16_t c) {
    constexpr size_t most = 16;
    if (!reads_ || pushed_back_.size() == most) return false;
    pushed_back_.push_back(c);
    at_end = false;
    return true;
}

bool STREAM::put(uint16_t c) {
    if (!writes_) return fault(EBADF);
    if (kind_ != HOST_FILE) {
        char byte = static_cast<char>(c);
        vm_.write(kind_ == ERRORS ? 2 : 1, &byte, 1);
        return true;
    }
    if (!pushed_back_.empty()) seek(0, SEEK_CUR); // writes where the program thinks it is
    if (!turn_to(WRITE)) return false;
    if (!binary_ && c > 0xFF) return fault(EILSEQ);
    if (putc(c & 0xFF, file_) < 0 || (binary_ && putc(c >> 8, file_) < 0)) return fault(errno);
    return true;
}

bool STREAM::put(const std::u16string& text) {
    if (kind_ == HOST_FILE || !writes_) {
        for (char16_t c : text)
            if (!put(static_cast<uint16_t>(c))) return false;
        return true;
    }
    std::string bytes(text.begin(), text.end());
    vm_.write(kind_ == ERRORS ? 2 : 1, bytes.data(), bytes.size());
    return true;
}

bool STREAM::flush() {
    if (kind_ == OUTPUT) vm_.flush();
    if (file_ == nullptr || last_ != WRITE) return true;
    return fflush(file_) == 0 || fault(errno);
}

int64_t STREAM::size() {
    off_t here = ftello(file_);
    if (here < 0 || fseeko(file_, 0, SEEK_END) != 0) return -1;
    int64_t bytes = ftello(file_);
    if (fseeko(file_, here, SEEK_SET) != 0) return -1;
    return binary_ ? (bytes + 1) / 2 : bytes;
}

int64_t STREAM::tell() {
    int64_t bytes = file_ != nullptr ? ftello(file_) : -1;
    if (bytes < 0) {
        errno = ESPIPE;
        return -1;
    }
    return (binary_ ? (bytes + 1) / 2 : bytes) - static_cast<int64_t>(pushed_back_.size());
}

bool STREAM::seek(int64_t offset, int from) {
    if (file_ == nullptr) {
        errno = ESPIPE;
        return false;
    }
    int64_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? tell() : from == SEEK_END ? size() : -1;
    if (base < 0 || base + offset < 0) {
        errno = EINVAL;
        return false;
    }
    if (fseeko(file_, (base + offset) * (binary_ ? 2 : 1), SEEK_SET) != 0) return false;
    pushed_back_.clear();
    at_end = false;
    last_ = NOTHING;
    return true;
}

// --------------------------------------------------------------------------------------------------------- all streams

STREAMS::STREAMS(VM& vm, const std::string& folder)
    : vm_(vm), folder_(folder), input_(vm, STREAM::INPUT), output_(vm, STREAM::OUTPUT), errors_(vm, STREAM::ERRORS) {}

STREAM& STREAMS::of(int64_t handle) {
    ADDRESS at = static_cast<ADDRESS>(handle);
    if (at != 0) {
        if (at == vm_.program.stdin_handle) return input_;
        if (at == vm_.program.stdout_handle) return output_;
        if (at == vm_.program.stderr_handle) return errors_;
        if (auto it = files_.find(at); it != files_.end()) return *it->second;
    }
    trap(text_of("0x%x is no open stream", at));
}

ADDRESS STREAMS::add(FILE* file, const OPEN_MODE& mode) {
    ADDRESS handle = file != nullptr ? vm_.mem.alloc(2) : 0; // an address that is no other object's
    if (handle == 0) {
        if (file != nullptr) fclose(file), errno = ENOMEM;
        return 0;
    }
    auto& stream = files_[handle];
    stream = std::make_unique<STREAM>(vm_, STREAM::CLOSED);
    stream->attach(file, mode);
    return handle;
}

FILE* STREAMS::open_file(const std::string& name, const OPEN_MODE& mode) {
    int fd = folder_.open(name, mode.flags());
    if (fd < 0) return nullptr;
    FILE* file = fdopen(fd, mode.text());
    if (file == nullptr) ::close(fd);
    return file;
}

ADDRESS STREAMS::open(const std::string& name, const OPEN_MODE& mode) {
    if (files_.size() < most_open) return add(open_file(name, mode), mode);
    errno = EMFILE;
    return 0;
}

ADDRESS STREAMS::open_temporary() {
    OPEN_MODE mode;
    parse_open_mode("w+b", mode);
    if (files_.size() < most_open) return add(tmpfile(), mode);
    errno = EMFILE;
    return 0;
}

bool STREAMS::reopen(STREAM& stream, const std::string& name, const OPEN_MODE& mode) {
    stream.close();
    FILE* file = open_file(name, mode);
    if (file != nullptr) stream.attach(file, mode);
    return file != nullptr;
}

bool STREAMS::close(int64_t handle) {
    bool good = of(handle).close();
    if (files_.erase(static_cast<ADDRESS>(handle)) != 0) vm_.mem.release(static_cast<ADDRESS>(handle));
    return good;
}

bool STREAMS::flush_all() {
    bool good = output_.flush() && errors_.flush();
    for (auto& [handle, stream] : files_) good = stream->flush() && good;
    return good;
}
