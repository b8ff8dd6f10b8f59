// Library functions of stdio.h. Streams are standard input, output and error; a stream is known by its address.
#include "exec.h"
#include "library.h"

#include <algorithm>

namespace {

ADDRESS at(int64_t slot) { return static_cast<ADDRESS>(slot); }
constexpr int64_t end_of_file = -1;

// 1 standard output, 2 standard error.
int output_stream(VM& vm, int64_t handle) {
    if (handle != 0 && at(handle) == vm.program.stdout_handle) return 1;
    if (handle != 0 && at(handle) == vm.program.stderr_handle) return 2;
    trap(text_of("output to 0x%x, which is no open stream", at(handle)));
}
void need_input(VM& vm, int64_t handle) {
    if (handle == 0 || at(handle) != vm.program.stdin_handle)
        trap(text_of("input from 0x%x, which is no open stream", at(handle)));
}

int64_t print(VM& vm, int stream, ADDRESS format, ADDRESS area) {
    // A stream of the host takes the low eight bits of each character.
    std::u16string text = format_text(vm, format, area);
    std::string bytes(text.begin(), text.end());
    vm.write(stream, bytes.data(), bytes.size());
    return static_cast<int64_t>(text.size());
}

// At most `room` units with the end; returns the whole length.
int64_t print_to(VM& vm, ADDRESS to, uint32_t room, ADDRESS format, ADDRESS area) {
    std::u16string text = format_text(vm, format, area);
    if (room != 0) {
        uint32_t n = static_cast<uint32_t>(std::min<size_t>(text.size(), room - 1));
        for (uint32_t i = 0; i < n; ++i) vm.mem.write16(to + i, text[i]);
        vm.mem.write16(to + n, 0);
    }
    return static_cast<int64_t>(text.size());
}

void put_char(VM& vm, int stream, int64_t c) {
    char byte = static_cast<char>(c);
    vm.write(stream, &byte, 1);
}

} // namespace

void lib_printf(VM& vm, int64_t* a) { a[0] = print(vm, 1, at(a[0]), at(a[1])); }
void lib_vprintf(VM& vm, int64_t* a) { a[0] = print(vm, 1, at(a[0]), at(a[1])); }
void lib_fprintf(VM& vm, int64_t* a) { a[0] = print(vm, output_stream(vm, a[0]), at(a[1]), at(a[2])); }
void lib_vfprintf(VM& vm, int64_t* a) { lib_fprintf(vm, a); }
void lib_sprintf(VM& vm, int64_t* a) { a[0] = print_to(vm, at(a[0]), UINT32_MAX, at(a[1]), at(a[2])); }
void lib_vsprintf(VM& vm, int64_t* a) { lib_sprintf(vm, a); }
void lib_snprintf(VM& vm, int64_t* a) {
    a[0] = print_to(vm, at(a[0]), static_cast<uint32_t>(a[1]), at(a[2]), at(a[3]));
}
void lib_vsnprintf(VM& vm, int64_t* a) { lib_snprintf(vm, a); }

void lib_puts(VM& vm, int64_t* a) {
    std::string text = vm.mem.read_text(at(a[0])) + "\n";
    vm.write(1, text.data(), text.size());
    a[0] = static_cast<int64_t>(text.size());
}
void lib_fputs(VM& vm, int64_t* a) {
    int stream = output_stream(vm, a[1]);
    std::string text = vm.mem.read_text(at(a[0]));
    vm.write(stream, text.data(), text.size());
    a[0] = static_cast<int64_t>(text.size());
}
void lib_putchar(VM& vm, int64_t* a) {
    put_char(vm, 1, a[0]);
    a[0] = static_cast<uint16_t>(a[0]);
}
void lib_fputc(VM& vm, int64_t* a) {
    put_char(vm, output_stream(vm, a[1]), a[0]);
    a[0] = static_cast<uint16_t>(a[0]);
}
void lib_putc(VM& vm, int64_t* a) { lib_fputc(vm, a); }
void lib_fwrite(VM& vm, int64_t* a) {
    int stream = output_stream(vm, a[3]);
    uint64_t units = static_cast<uint64_t>(static_cast<uint32_t>(a[1])) * static_cast<uint32_t>(a[2]);
    if (units >= MEMORY::limit) vm.mem.bad_read(at(a[0]), 1);
    vm.mem.check_read(at(a[0]), static_cast<uint32_t>(units));
    for (uint32_t i = 0; i < units; ++i) put_char(vm, stream, vm.mem.units[at(a[0]) + i]);
    a[0] = units != 0 ? static_cast<uint32_t>(a[2]) : 0;
}
void lib_fread(VM& vm, int64_t* a) {
    need_input(vm, a[3]);
    uint32_t size = static_cast<uint32_t>(a[1]), n = static_cast<uint32_t>(a[2]);
    ADDRESS to = at(a[0]);
    a[0] = 0;
    if (size == 0) return;
    for (uint32_t i = 0; i < n; ++i, ++a[0])
        for (uint32_t k = 0; k < size; ++k) {
            int c = vm.read_char();
            if (c < 0) return;
            vm.mem.write16(to++, static_cast<uint16_t>(c));
        }
}
void lib_fflush(VM& vm, int64_t* a) {
    vm.flush();
    a[0] = 0;
}

void lib_getchar(VM& vm, int64_t* a) { a[0] = vm.read_char(); }
void lib_fgetc(VM& vm, int64_t* a) {
    need_input(vm, a[0]);
    a[0] = vm.read_char();
}
void lib_getc(VM& vm, int64_t* a) { lib_fgetc(vm, a); }
void lib_ungetc(VM& vm, int64_t* a) {
    need_input(vm, a[1]);
    if (a[0] != end_of_file) vm.unread_char(static_cast<int>(a[0] & 0xFF));
}
void lib_fgets(VM& vm, int64_t* a) {
    need_input(vm, a[2]);
    ADDRESS to = at(a[0]);
    int64_t room = a[1], n = 0;
    if (room <= 0) {
        a[0] = 0;
        return;
    }
    while (n < room - 1) {
        int c = vm.read_char();
        if (c < 0) break;
        vm.mem.write16(to + static_cast<ADDRESS>(n++), static_cast<uint16_t>(c));
        if (c == '\n') break;
    }
    if (n == 0 && room > 1) {
        a[0] = 0;
        return;
    }
    vm.mem.write16(to + static_cast<ADDRESS>(n), 0);
}
void lib_feof(VM& vm, int64_t* a) {
    if (a[0] == 0 || at(a[0]) != vm.program.stdin_handle) {
        a[0] = 0;
        return;
    }
    int c = vm.read_char();
    if (c >= 0) vm.unread_char(c);
    a[0] = c < 0;
}
void lib_ferror(VM&, int64_t* a) { a[0] = 0; }
void lib_perror(VM& vm, int64_t* a) {
    int number = vm.program.errno_object != 0 ? static_cast<int>(vm.mem.read32(vm.program.errno_object)) : 0;
    std::string text = (a[0] != 0 ? vm.mem.read_text(at(a[0])) + ": " : "") + "error " + std::to_string(number) + "\n";
    vm.write(2, text.data(), text.size());
}
