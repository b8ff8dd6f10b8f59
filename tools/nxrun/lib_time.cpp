// Library functions of time.h. The clock is one of the run itself, so that a program gives the same output every time:
// it begins with the run's epoch and goes on by a microsecond whenever it is asked. The time zone is UTC.
#include "exec.h"
#include "library.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

constexpr int64_t ticks_of_second = 1000000;
constexpr uint32_t fields = 9; // of struct tm, each an int

int64_t now(VM& vm) { return vm.options.library.epoch + ++vm.library->clock / ticks_of_second; }

// A time_t has 32 bits.
bool fits(int64_t t) { return t == static_cast<int32_t>(t); }

int* field(struct tm& t, uint32_t i) {
    int* const all[fields] = {&t.tm_sec,  &t.tm_min,  &t.tm_hour, &t.tm_mday, &t.tm_mon,
                              &t.tm_year, &t.tm_wday, &t.tm_yday, &t.tm_isdst};
    return all[i];
}

// The fields in front of `behind`, and of the others those that are not left out.
struct tm read_time(VM& vm, ADDRESS from, bool with_days) {
    struct tm t {};
    for (uint32_t i = 0; i < fields; ++i) {
        bool is_day = field(t, i) == &t.tm_wday || field(t, i) == &t.tm_yday;
        if (!is_day || with_days) *field(t, i) = static_cast<int32_t>(vm.mem.read32(from + 2 * i));
    }
    t.tm_zone = "UTC";
    return t;
}

void write_time(VM& vm, ADDRESS to, struct tm t) {
    for (uint32_t i = 0; i < fields; ++i) vm.mem.write_n(to + 2 * i, static_cast<uint32_t>(*field(t, i)), 2);
}

void store_text(VM& vm, ADDRESS to, const std::string& text) {
    for (char c : text) vm.mem.write16(to++, static_cast<unsigned char>(c));
    vm.mem.write16(to, 0);
}

ADDRESS broken_down(VM& vm, ADDRESS time, ADDRESS to) {
    time_t t = static_cast<int32_t>(vm.mem.read32(time));
    struct tm parts {};
    gmtime_r(&t, &parts);
    if (to != 0) write_time(vm, to, parts);
    return to;
}

// As asctime says it, of any values.
std::string text_of_time(const struct tm& t) {
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return text_of("%s %s%3d %.2d:%.2d:%.2d %lld\n", t.tm_wday >= 0 && t.tm_wday < 7 ? days[t.tm_wday] : "???",
                   t.tm_mon >= 0 && t.tm_mon < 12 ? months[t.tm_mon] : "???", t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                   1900LL + t.tm_year);
}

// What the conversion at `format` gives, which is left at its last character.
std::u16string conversion(VM& vm, ADDRESS& format, const struct tm& t) {
    uint16_t letter = vm.mem.read16(++format);
    if (letter == 'E' || letter == 'O')
        letter = vm.mem.read16(++format); // another locale's way, which is the same here
    if (letter == 0 || letter > 127 || strchr("aAbBcCdDeFgGhHIjmMnprRStTuUVwWxXyYzZ%", letter) == nullptr)
        trap(text_of("strftime with the unknown conversion '%%%c'", letter));
    const char of_host[] = {'%', static_cast<char>(letter), 0};
    char text[256];
    size_t n = strftime(text, sizeof text, of_host, &t); // 0 for the empty %p too
    return std::u16string(text, text + n);
}

ADDRESS shared_time(VM& vm) { return vm.library->object(vm.library->broken_down_time, 2 * fields); }
ADDRESS shared_text(VM& vm) { return vm.library->object(vm.library->time_text, 96); }

} // namespace

void lib_time(VM& vm, int64_t* a) {
    int64_t t = now(vm);
    if (!fits(t)) t = -1;
    if (a[0] != 0) vm.mem.write_n(address_of(a[0]), static_cast<uint32_t>(t), 2);
    a[0] = t;
}
void lib_clock(VM& vm, int64_t* a) { a[0] = static_cast<int32_t>(++vm.library->clock); }
void lib_timespec_get(VM& vm, int64_t* a) {
    constexpr int64_t utc = 1;
    if (a[1] != utc) {
        a[0] = 0;
        return;
    }
    vm.mem.write_n(address_of(a[0]), static_cast<uint32_t>(now(vm)), 2);
    vm.mem.write_n(address_of(a[0]) + 2, static_cast<uint32_t>(vm.library->clock % ticks_of_second * 1000), 2);
    a[0] = utc;
}
void lib_difftime(VM&, int64_t* a) { a[0] = std::bit_cast<int64_t>(static_cast<double>(a[0] - a[1])); }

void lib_mktime(VM& vm, int64_t* a) {
    ADDRESS at = address_of(a[0]);
    struct tm t = read_time(vm, at, false); // the days of week and year are results only
    t.tm_isdst = 0;
    int64_t seconds = timegm(&t);
    if (!fits(seconds)) {
        set_errno(vm, EOVERFLOW);
        a[0] = -1;
        return;
    }
    write_time(vm, at, t);
    a[0] = seconds;
}
void lib_gmtime(VM& vm, int64_t* a) { a[0] = broken_down(vm, address_of(a[0]), shared_time(vm)); }
void lib_gmtime_r(VM& vm, int64_t* a) { a[0] = broken_down(vm, address_of(a[0]), address_of(a[1])); }

void lib_asctime_r(VM& vm, int64_t* a) {
    if (a[1] != 0) store_text(vm, address_of(a[1]), text_of_time(read_time(vm, address_of(a[0]), true)));
    a[0] = a[1];
}
void lib_asctime(VM& vm, int64_t* a) {
    int64_t call[2] = {a[0], shared_text(vm)};
    lib_asctime_r(vm, call);
    a[0] = call[0];
}
void lib_ctime_r(VM& vm, int64_t* a) {
    int64_t call[2] = {broken_down(vm, address_of(a[0]), shared_time(vm)), a[1]};
    if (call[0] != 0) lib_asctime_r(vm, call);
    a[0] = call[0];
}
void lib_ctime(VM& vm, int64_t* a) {
    int64_t call[2] = {a[0], shared_text(vm)};
    lib_ctime_r(vm, call);
    a[0] = call[0];
}

void lib_strftime(VM& vm, int64_t* a) {
    ADDRESS to = address_of(a[0]), format = address_of(a[2]);
    uint32_t room = static_cast<uint32_t>(a[1]);
    struct tm t = read_time(vm, address_of(a[3]), true);
    std::u16string text;
    for (uint16_t c; text.size() < room && (c = vm.mem.read16(format)) != 0; ++format) {
        if (c == '%')
            text += conversion(vm, format, t);
        else
            text += static_cast<char16_t>(c);
    }
    a[0] = 0;
    if (text.size() >= room) return;
    for (char16_t c : text) vm.mem.write16(to++, static_cast<uint16_t>(c));
    vm.mem.write16(to, 0);
    a[0] = static_cast<int64_t>(text.size());
}
