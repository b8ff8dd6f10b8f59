// Library functions of stdio.h but for the formats, which stand in format and lib_scan.
#include "exec.h"
#include "library.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr int64_t end_of_file = -1;

STREAM& stream_of(VM& vm, int64_t handle) { return vm.library->streams.of(handle); }
STREAM& standard_output(VM& vm) { return vm.library->streams.output(); }
STREAM& standard_input(VM& vm) { return vm.library->streams.input(); }

// The number of characters, or a negative one with errno set. What the host says of the failure is told to the program.
int64_t result_of_writing(VM& vm, bool good, size_t n) {
    if (good) return static_cast<int64_t>(n);
    set_errno(vm, errno);
    return end_of_file;
}

int64_t print(VM& vm, STREAM& stream, ADDRESS format, ADDRESS area) {
    std::u16string text = format_text(vm, format, area);
    return result_of_writing(vm, stream.put(text), text.size());
}

// At most `room` units with the end.
void store_text(VM& vm, ADDRESS to, uint32_t room, const std::u16string& text) {
    if (room == 0) return;
    uint32_t n = static_cast<uint32_t>(std::min<size_t>(text.size(), room - 1));
    for (uint32_t i = 0; i < n; ++i) vm.mem.write16(to + i, text[i]);
    vm.mem.write16(to + n, 0);
}

std::u16string text_at(MEMORY& mem, ADDRESS at) {
    std::u16string text;
    for (;; ++at) {
        uint16_t c = mem.read16(at);
        if (c == 0) return text;
        text += static_cast<char16_t>(c);
    }
}

// The name of a file. A character that no name of the host can have gives a name that does not exist.
bool file_name(VM& vm, int64_t slot, std::string& name) {
    for (char16_t c : text_at(vm.mem, address_of(slot))) {
        if (c > 0xFF) {
            errno = ENOENT;
            return false;
        }
        name += static_cast<char>(c);
    }
    return true;
}

bool name_and_mode(VM& vm, int64_t* a, std::string& name, OPEN_MODE& mode) {
    if (parse_open_mode(vm.mem.read_text(address_of(a[1])), mode)) return file_name(vm, a[0], name);
    errno = EINVAL;
    return false;
}

// 0, or -1 with errno set.
int64_t status_of(VM& vm, bool good) { return result_of_writing(vm, good, 0); }
int64_t handle_or_null(VM& vm, ADDRESS handle) {
    if (handle == 0) set_errno(vm, errno);
    return handle;
}

int64_t get_char(VM& vm, STREAM& stream) {
    int c = stream.get();
    if (c < 0 && stream.failed) set_errno(vm, errno);
    return c;
}

int64_t put_char(VM& vm, STREAM& stream, int64_t slot) {
    uint16_t c = static_cast<uint16_t>(slot);
    return stream.put(c) ? c : status_of(vm, false);
}

// A unit that is to be written out. Padding of a struct, which nobody has written, counts as 0.
uint16_t unit_of_object(MEMORY& mem, ADDRESS at) {
    if (at >= MEMORY::limit || (mem.state[at] & UNIT_VALUE) == 0) mem.bad_read(at, 1);
    return (mem.state[at] & UNIT_WRITTEN) != 0 ? mem.units[at] : 0;
}

// A line, or what stands before the end. Returns whether there was anything.
bool read_line(VM& vm, STREAM& stream, ADDRESS to, int64_t room, bool with_end_of_line) {
    int64_t n = 0;
    bool any = room == 1;
    while (n < room - 1) {
        int64_t c = get_char(vm, stream);
        if (c < 0) break;
        any = true;
        if (c != '\n' || with_end_of_line) vm.mem.write16(to + static_cast<ADDRESS>(n++), static_cast<uint16_t>(c));
        if (c == '\n') break;
    }
    if (any && !stream.failed) vm.mem.write16(to + static_cast<ADDRESS>(n), 0);
    return any && !stream.failed;
}

} // namespace

// --------------------------------------------------------------------------------------------------------------- files

void lib_fopen(VM& vm, int64_t* a) {
    std::string name;
    OPEN_MODE mode;
    a[0] = handle_or_null(vm, name_and_mode(vm, a, name, mode) ? vm.library->streams.open(name, mode) : 0);
}
void lib_freopen(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[2]);
    std::string name;
    OPEN_MODE mode;
    errno = EACCES; // no name: another mode for the file that is open, which is not to be had
    bool good = a[0] != 0 && name_and_mode(vm, a, name, mode) && vm.library->streams.reopen(stream, name, mode);
    if (!good) stream.close();
    a[0] = handle_or_null(vm, good ? address_of(a[2]) : 0);
}
void lib_tmpfile(VM& vm, int64_t* a) { a[0] = handle_or_null(vm, vm.library->streams.open_temporary()); }
void lib_tmpnam(VM& vm, int64_t* a) {
    constexpr uint32_t room = 16; // L_tmpnam
    ADDRESS to = a[0] != 0 ? address_of(a[0]) : vm.library->object(vm.library->file_name, room);
    a[0] = to;
    if (to == 0) return;
    std::string name = text_of("tmp%u.tmp", ++vm.library->temporary_names);
    store_text(vm, to, room, std::u16string(name.begin(), name.end()));
}
void lib_fclose(VM& vm, int64_t* a) { a[0] = status_of(vm, vm.library->streams.close(a[0])); }
void lib_fflush(VM& vm, int64_t* a) {
    a[0] = status_of(vm, a[0] == 0 ? vm.library->streams.flush_all() : stream_of(vm, a[0]).flush());
}
void lib_remove(VM& vm, int64_t* a) {
    std::string name;
    a[0] = status_of(vm, file_name(vm, a[0], name) && vm.library->streams.folder().remove(name));
}
void lib_rename(VM& vm, int64_t* a) {
    std::string from, to;
    a[0] = status_of(vm, file_name(vm, a[0], from) && file_name(vm, a[1], to) &&
                             vm.library->streams.folder().rename(from, to));
}
// How a stream is buffered makes no difference that a program can see.
void lib_setbuf(VM& vm, int64_t* a) { stream_of(vm, a[0]); }
void lib_setvbuf(VM& vm, int64_t* a) {
    stream_of(vm, a[0]);
    a[0] = a[2] < 0 || a[2] > 2;
}

// ------------------------------------------------------------------------------------------------------------ position

void lib_fseek(VM& vm, int64_t* a) { a[0] = status_of(vm, stream_of(vm, a[0]).seek(a[1], static_cast<int>(a[2]))); }
void lib_ftell(VM& vm, int64_t* a) {
    int64_t at = stream_of(vm, a[0]).tell();
    if (at > INT32_MAX) at = -1, errno = EOVERFLOW;
    if (at < 0) set_errno(vm, errno);
    a[0] = at;
}
void lib_rewind(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[0]);
    stream.seek(0, SEEK_SET);
    stream.at_end = stream.failed = false;
}
void lib_fgetpos(VM& vm, int64_t* a) {
    ADDRESS to = address_of(a[1]);
    lib_ftell(vm, a);
    if (a[0] >= 0) vm.mem.write_n(to, static_cast<uint32_t>(a[0]), 2);
    a[0] = a[0] < 0;
}
void lib_fsetpos(VM& vm, int64_t* a) {
    int64_t at = static_cast<int32_t>(vm.mem.read32(address_of(a[1])));
    a[0] = status_of(vm, stream_of(vm, a[0]).seek(at, SEEK_SET));
}
void lib_feof(VM& vm, int64_t* a) { a[0] = stream_of(vm, a[0]).at_end; }
void lib_ferror(VM& vm, int64_t* a) { a[0] = stream_of(vm, a[0]).failed; }
void lib_clearerr(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[0]);
    stream.at_end = stream.failed = false;
}
void lib_fwide(VM& vm, int64_t* a) {
    stream_of(vm, a[0]);
    a[0] = 0; // a stream takes both kinds of characters
}

// -------------------------------------------------------------------------------------------------------------- output

void lib_printf(VM& vm, int64_t* a) { a[0] = print(vm, standard_output(vm), address_of(a[0]), address_of(a[1])); }
void lib_fprintf(VM& vm, int64_t* a) { a[0] = print(vm, stream_of(vm, a[0]), address_of(a[1]), address_of(a[2])); }
void lib_sprintf(VM& vm, int64_t* a) {
    std::u16string text = format_text(vm, address_of(a[1]), address_of(a[2]));
    store_text(vm, address_of(a[0]), UINT32_MAX, text);
    a[0] = static_cast<int64_t>(text.size());
}
void lib_snprintf(VM& vm, int64_t* a) {
    std::u16string text = format_text(vm, address_of(a[2]), address_of(a[3]));
    store_text(vm, address_of(a[0]), static_cast<uint32_t>(a[1]), text);
    a[0] = static_cast<int64_t>(text.size());
}
// Unlike snprintf it fails where the text does not fit.
void lib_swprintf(VM& vm, int64_t* a) {
    uint32_t room = static_cast<uint32_t>(a[1]);
    lib_snprintf(vm, a);
    if (a[0] >= room) a[0] = end_of_file;
}
void lib_puts(VM& vm, int64_t* a) {
    std::u16string text = text_at(vm.mem, address_of(a[0])) + u'\n';
    a[0] = result_of_writing(vm, standard_output(vm).put(text), text.size());
}
void lib_fputs(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[1]);
    std::u16string text = text_at(vm.mem, address_of(a[0]));
    a[0] = result_of_writing(vm, stream.put(text), text.size());
}
void lib_putchar(VM& vm, int64_t* a) { a[0] = put_char(vm, standard_output(vm), a[0]); }
void lib_fputc(VM& vm, int64_t* a) { a[0] = put_char(vm, stream_of(vm, a[1]), a[0]); }
void lib_fwrite(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[3]);
    ADDRESS from = address_of(a[0]);
    uint32_t size = static_cast<uint32_t>(a[1]), n = static_cast<uint32_t>(a[2]);
    a[0] = 0;
    if (size == 0) return;
    for (; a[0] < n; ++a[0])
        for (uint32_t k = 0; k < size; ++k)
            if (!stream.put(unit_of_object(vm.mem, from++))) {
                status_of(vm, false);
                return;
            }
}
void lib_perror(VM& vm, int64_t* a) {
    std::string text = strerror(get_errno(vm));
    std::u16string all = a[0] != 0 ? text_at(vm.mem, address_of(a[0])) : u"";
    if (!all.empty()) all += u": ";
    vm.library->streams.errors().put(all + std::u16string(text.begin(), text.end()) + u'\n');
}

// --------------------------------------------------------------------------------------------------------------- input

void lib_getchar(VM& vm, int64_t* a) { a[0] = get_char(vm, standard_input(vm)); }
void lib_fgetc(VM& vm, int64_t* a) { a[0] = get_char(vm, stream_of(vm, a[0])); }
void lib_ungetc(VM& vm, int64_t* a) {
    bool good = a[0] != end_of_file && stream_of(vm, a[1]).unget(static_cast<uint16_t>(a[0]));
    a[0] = good ? static_cast<uint16_t>(a[0]) : end_of_file;
}
void lib_fgets(VM& vm, int64_t* a) {
    if (a[1] <= 0 || !read_line(vm, stream_of(vm, a[2]), address_of(a[0]), a[1], true)) a[0] = 0;
}
void lib_gets(VM& vm, int64_t* a) {
    if (!read_line(vm, standard_input(vm), address_of(a[0]), MEMORY::limit, false)) a[0] = 0;
}
void lib_fread(VM& vm, int64_t* a) {
    STREAM& stream = stream_of(vm, a[3]);
    ADDRESS to = address_of(a[0]);
    uint32_t size = static_cast<uint32_t>(a[1]), n = static_cast<uint32_t>(a[2]);
    a[0] = 0;
    if (size == 0) return;
    for (; a[0] < n; ++a[0])
        for (uint32_t k = 0; k < size; ++k) {
            int64_t c = get_char(vm, stream);
            if (c < 0) return;
            vm.mem.write16(to++, static_cast<uint16_t>(c));
        }
}

namespace {

int64_t scan_stream(VM& vm, STREAM& stream, ADDRESS format, ADDRESS area) {
    auto unread = [&](int c) { stream.unget(static_cast<uint16_t>(c)); };
    return scan_text(
        vm, format, area, [&] { return static_cast<int>(get_char(vm, stream)); }, unread);
}

} // namespace

void lib_scanf(VM& vm, int64_t* a) { a[0] = scan_stream(vm, standard_input(vm), address_of(a[0]), address_of(a[1])); }
void lib_fscanf(VM& vm, int64_t* a) { a[0] = scan_stream(vm, stream_of(vm, a[0]), address_of(a[1]), address_of(a[2])); }
void lib_sscanf(VM& vm, int64_t* a) {
    ADDRESS from = address_of(a[0]);
    auto read = [&]() -> int {
        uint16_t c = vm.mem.read16(from);
        if (c == 0) return -1;
        ++from;
        return c;
    };
    a[0] = scan_text(vm, address_of(a[1]), address_of(a[2]), read, [&](int) { --from; });
}
