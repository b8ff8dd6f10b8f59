// Library functions of locale.h, wctype.h and those of wchar.h that convert characters. There is one locale, "C", and a
// character is the same as narrow and wide, one unit.
#include "exec.h"
#include "library.h"

namespace {

ADDRESS at(int64_t slot) { return address_of(slot); }

struct CHARACTER_CLASS {
    const char* name;
    LIBRARY_HANDLER test;
};
const CHARACTER_CLASS classes[] = {
    {"alnum", lib_isalnum}, {"alpha", lib_isalpha}, {"blank", lib_isblank}, {"cntrl", lib_iscntrl},
    {"digit", lib_isdigit}, {"graph", lib_isgraph}, {"lower", lib_islower}, {"print", lib_isprint},
    {"punct", lib_ispunct}, {"space", lib_isspace}, {"upper", lib_isupper}, {"xdigit", lib_isxdigit},
};
const CHARACTER_CLASS changes[] = {{"tolower", lib_tolower}, {"toupper", lib_toupper}};

// A class is known by its place in the table, counted from 1; 0 is none.
template <size_t N> int64_t number_of(const CHARACTER_CLASS (&table)[N], const std::string& name) {
    for (size_t i = 0; i < N; ++i)
        if (name == table[i].name) return static_cast<int64_t>(i) + 1;
    return 0;
}

} // namespace

void lib_wctype(VM& vm, int64_t* a) { a[0] = number_of(classes, vm.mem.read_text(at(a[0]))); }
void lib_iswctype(VM& vm, int64_t* a) {
    bool known = a[1] > 0 && a[1] <= static_cast<int64_t>(std::size(classes));
    if (known)
        classes[a[1] - 1].test(vm, a);
    else
        a[0] = 0;
}
void lib_wctrans(VM& vm, int64_t* a) { a[0] = number_of(changes, vm.mem.read_text(at(a[0]))); }
void lib_towctrans(VM& vm, int64_t* a) {
    if (a[1] > 0 && a[1] <= static_cast<int64_t>(std::size(changes))) changes[a[1] - 1].test(vm, a);
}

// ---------------------------------------------------------------------------------------------------------- characters

void lib_btowc(VM&, int64_t* a) {
    if (a[0] < 0 || a[0] > 0xFFFF) a[0] = -1;
}
void lib_mbsinit(VM&, int64_t* a) { a[0] = 1; }
void lib_mbrlen(VM& vm, int64_t* a) {
    int64_t call[3] = {0, a[0], a[1]};
    lib_mbrtowc(vm, call);
    a[0] = call[0];
}
void lib_mbrtowc(VM& vm, int64_t* a) {
    constexpr int64_t incomplete = UINT32_MAX - 1; // (size_t)-2
    bool nothing = a[1] != 0 && a[2] == 0;
    lib_mbtowc(vm, a);
    if (nothing) a[0] = incomplete;
}
void lib_wcrtomb(VM& vm, int64_t* a) {
    if (a[0] != 0) vm.mem.write16(at(a[0]), static_cast<uint16_t>(a[1]));
    a[0] = 1;
}
void lib_mbsrtowcs(VM& vm, int64_t* a) {
    ADDRESS from = vm.mem.read32(at(a[1]));
    int64_t call[3] = {a[0], from, a[2]};
    lib_mbstowcs(vm, call);
    // Where the reading went on: null behind the end of the text.
    if (a[0] != 0) {
        bool ended = static_cast<uint32_t>(call[0]) < static_cast<uint32_t>(a[2]);
        vm.mem.write_n(at(a[1]), ended ? 0 : from + static_cast<ADDRESS>(call[0]), 2);
    }
    a[0] = call[0];
}

// -------------------------------------------------------------------------------------------------------------- locale

void lib_setlocale(VM& vm, int64_t* a) {
    constexpr int64_t last_category = 6; // LC_ALL
    std::string name = a[1] != 0 ? vm.mem.read_text(at(a[1])) : "C";
    bool known = a[0] >= 0 && a[0] <= last_category && (name.empty() || name == "C" || name == "POSIX");
    a[0] = known ? vm.library->text("C") : 0;
}

void lib_localeconv(VM& vm, int64_t* a) {
    constexpr uint32_t texts = 10, numbers = 14, not_told = 32767; // CHAR_MAX
    ADDRESS& conv = vm.library->locale;
    bool is_new = conv == 0;
    a[0] = vm.library->object(conv, 2 * texts + numbers);
    if (!is_new || conv == 0) return;
    for (uint32_t i = 0; i < texts; ++i) vm.mem.write_n(conv + 2 * i, vm.library->text(i == 0 ? "." : ""), 2);
    for (uint32_t i = 0; i < numbers; ++i) vm.mem.write16(conv + 2 * texts + i, not_told);
}
