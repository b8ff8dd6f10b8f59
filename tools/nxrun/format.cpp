// The printf family's conversions. The arguments stand in the variadic area, each at a multiple of two units. The text
// is one of the target's characters, 16 bits each.
#include "exec.h"
#include "library.h"

#include <bit>
#include <cstdio>
#include <cstring>

namespace {

class FORMATTER {
  public:
    FORMATTER(VM& vm, ADDRESS format, ADDRESS area) : mem_(vm.mem), at_(format), next_(area) {}

    std::u16string run() {
        for (;; ++at_) {
            uint16_t c = mem_.read16(at_);
            if (c == 0) return std::move(out_);
            if (c != '%') {
                out_ += c;
                continue;
            }
            conversion();
        }
    }

  private:
    enum LENGTH { CHAR, SHORT, INT, LONG, LONG_LONG };
    static constexpr int most_width = 1 << 20; // keeps the text of one conversion within bounds

    uint16_t peek() { return mem_.read16(at_); }
    uint32_t take32() {
        uint32_t v = mem_.read32(next_);
        next_ += 2;
        return v;
    }
    uint64_t take64() {
        uint64_t v = mem_.read64(next_);
        next_ += 4;
        return v;
    }
    // A number in the format, or the argument that a star stands for.
    int number(bool& negative) {
        negative = false;
        if (peek() == '*') {
            ++at_;
            int32_t v = static_cast<int32_t>(take32());
            negative = v < 0;
            int64_t size = negative ? -int64_t{v} : int64_t{v};
            if (size > most_width) trap("printf with a width or precision above " + std::to_string(most_width));
            return static_cast<int>(size);
        }
        int64_t v = 0;
        for (; peek() >= '0' && peek() <= '9'; ++at_) {
            v = v * 10 + (peek() - '0');
            if (v > most_width) trap("printf with a width or precision above " + std::to_string(most_width));
        }
        return static_cast<int>(v);
    }

    void read_length() {
        length_ = INT;
        switch (peek()) {
        case 'h':
            ++at_;
            length_ = SHORT;
            if (peek() == 'h') ++at_, length_ = CHAR;
            break;
        case 'l':
            ++at_;
            length_ = LONG;
            if (peek() == 'l') ++at_, length_ = LONG_LONG;
            break;
        case 'j':
            ++at_;
            length_ = LONG_LONG;
            break;
        case 'z':
        case 't':
            ++at_;
            length_ = LONG;
            break;
        case 'L': // long double is double, and an integer is meant to be the longest
            ++at_;
            length_ = LONG_LONG;
            break;
        default: break;
        }
    }

    void conversion() {
        ++at_;
        flags_ = "";
        for (; peek() != 0 && peek() < 128 && strchr("-+ #0", peek()) != nullptr; ++at_)
            if (flags_.find(static_cast<char>(peek())) == std::string::npos) flags_ += static_cast<char>(peek());
        bool negative;
        width_ = number(negative);
        if (negative) flags_ += '-';
        precision_ = -1;
        if (peek() == '.') {
            ++at_;
            precision_ = number(negative);
            if (negative) precision_ = -1; // as if it were left out
        }
        read_length();
        uint16_t c = peek();
        switch (c) {
        case 'd':
        case 'i': integer("lld", signed_argument()); break;
        case 'u':
        case 'o':
        case 'x':
        case 'X': {
            const char format[] = {'l', 'l', static_cast<char>(c), 0};
            integer(format, static_cast<long long>(unsigned_argument()));
            break;
        }
        case 'c': text(std::u16string(1, static_cast<char16_t>(take32()))); break;
        case 's': string_argument(); break;
        case 'p': pointer(); break;
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A': {
            const char format[] = {static_cast<char>(c), 0};
            print(format, std::bit_cast<double>(take64()));
            break;
        }
        case 'n': store_count(); break;
        case '%': out_ += u'%'; break;
        default: trap(text_of("printf with the unknown conversion '%%%c'", c));
        }
    }

    // All characters of the target are 16 bits wide, so %hhd converts to 16 bits as %hd does.
    long long signed_argument() {
        if (length_ == LONG_LONG) return static_cast<long long>(take64());
        uint32_t v = take32();
        return length_ <= SHORT ? static_cast<int16_t>(v) : static_cast<int32_t>(v);
    }
    unsigned long long unsigned_argument() {
        if (length_ == LONG_LONG) return take64();
        uint32_t v = take32();
        return length_ <= SHORT ? v & 0xFFFF : v;
    }

    template <typename T> void print(const char* conversion, T value) {
        std::string format = "%" + flags_ + "*";
        if (precision_ >= 0) format += ".*";
        format += conversion;
        char buffer[512];
        auto run = [&](char* to, size_t room) {
            return precision_ >= 0 ? snprintf(to, room, format.c_str(), width_, precision_, value)
                                   : snprintf(to, room, format.c_str(), width_, value);
        };
        int n = run(buffer, sizeof buffer);
        if (n < 0) trap("printf of a text that is too long");
        if (static_cast<size_t>(n) < sizeof buffer) {
            out_.append(buffer, buffer + n);
            return;
        }
        std::string large(static_cast<size_t>(n) + 1, 0);
        run(large.data(), large.size());
        out_.append(large.data(), large.data() + n);
    }
    void integer(const char* conversion, long long value) { print(conversion, value); }

    void text(const std::u16string& s) {
        size_t fill = static_cast<size_t>(width_) > s.size() ? static_cast<size_t>(width_) - s.size() : 0;
        bool left = flags_.find('-') != std::string::npos;
        if (!left) out_.append(fill, u' ');
        out_ += s;
        if (left) out_.append(fill, u' ');
    }
    void string_argument() {
        ADDRESS p = take32();
        std::u16string s;
        // No more is read than is printed: the text need not end then.
        for (int n = 0; precision_ < 0 || n < precision_; ++n, ++p) {
            uint16_t c = mem_.read16(p);
            if (c == 0) break;
            s += c;
        }
        text(s);
    }
    void pointer() {
        uint32_t v = take32();
        std::string digits = v == 0 ? "(nil)" : text_of("0x%x", v);
        text(std::u16string(digits.begin(), digits.end()));
    }
    void store_count() {
        ADDRESS to = take32();
        uint64_t n = out_.size();
        mem_.write_n(to, n, length_ <= SHORT ? 1 : length_ == LONG_LONG ? 4 : 2);
    }

    MEMORY& mem_;
    ADDRESS at_, next_;
    std::u16string out_;
    std::string flags_;
    int width_ = 0, precision_ = -1;
    LENGTH length_ = INT;
};

} // namespace

std::u16string format_text(VM& vm, ADDRESS format, ADDRESS area) { return FORMATTER(vm, format, area).run(); }
