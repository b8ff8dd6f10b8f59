// The scanf family: conversions %d %i %u %o %x %c %s %[ %e %f %g %a %p %n %%, with width, star and length.
#include "exec.h"
#include "float_text.h"
#include "library.h"

#include <bit>
#include <cstdlib>

namespace {

class SCANNER {
  public:
    // `read` gives the next character, or -1; `unread` takes back the last one.
    SCANNER(VM& vm, ADDRESS format, ADDRESS area, const std::function<int()>& read,
            const std::function<void(int)>& unread)
        : mem_(vm.mem), at_(format), next_(area), read_(read), unread_(unread) {}

    int run() {
        for (;; ++at_) {
            uint16_t c = mem_.read16(at_);
            if (c == 0) return stored_;
            if (is_space(c)) {
                skip_space();
            } else if (c != '%') {
                if (!match(c)) return result();
            } else if (!conversion()) {
                return result();
            }
        }
    }

  private:
    static bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    int result() const { return stored_ == 0 && at_end_ ? -1 : stored_; }

    int get() {
        int c = read_();
        if (c < 0)
            at_end_ = true;
        else
            ++consumed_;
        return c;
    }
    void give_back(int c) {
        if (c < 0) return;
        unread_(c);
        --consumed_;
    }
    void skip_space() {
        int c;
        while (is_space(c = get())) {}
        give_back(c);
    }
    bool match(int wanted) {
        int c = get();
        if (c == wanted) return true;
        give_back(c);
        return false;
    }
    // The longest run of characters that `fits` likes, at most `width_`.
    template <typename F> std::u16string gather(F&& fits) {
        std::u16string text;
        while (static_cast<int>(text.size()) < width_) {
            int c = get();
            if (c < 0) break;
            if (!fits(text, c)) {
                give_back(c);
                break;
            }
            text += static_cast<char16_t>(c);
        }
        return text;
    }
    // Of what only holds digits, letters and signs.
    static std::string narrow(const std::u16string& text) { return std::string(text.begin(), text.end()); }
    ADDRESS target() {
        ADDRESS to = mem_.read32(next_);
        next_ += 2;
        return to;
    }
    void store(uint64_t v, uint32_t units) {
        mem_.write_n(target(), v, units);
        ++stored_;
    }
    void store_text(const std::u16string& text, bool with_end) {
        ADDRESS to = target();
        for (char16_t c : text) mem_.write16(to++, static_cast<uint16_t>(c));
        if (with_end) mem_.write16(to, 0);
        ++stored_;
    }

    bool conversion() {
        constexpr int most_width = 1 << 20;
        ++at_;
        bool drop = mem_.read16(at_) == '*';
        if (drop) ++at_;
        width_ = 0;
        for (; mem_.read16(at_) >= '0' && mem_.read16(at_) <= '9'; ++at_)
            width_ = std::min(width_ * 10 + (mem_.read16(at_) - '0'), most_width);
        bool has_width = width_ != 0;
        if (!has_width) width_ = most_width;
        int longs = 0, shorts = 0;
        for (;; ++at_) {
            uint16_t c = mem_.read16(at_);
            if (c == 'l')
                ++longs;
            else if (c == 'h')
                ++shorts;
            else if (c == 'j')
                longs = 2;
            else if (c == 'L')
                longs = 1;
            else if (c != 'z' && c != 't')
                break;
        }
        uint16_t c = mem_.read16(at_);
        if (c != 'c' && c != '[' && c != 'n') skip_space();
        switch (c) {
        case 'd': return integer(10, drop, longs, shorts);
        case 'i': return integer(0, drop, longs, shorts);
        case 'u': return integer(10, drop, longs, shorts);
        case 'o': return integer(8, drop, longs, shorts);
        case 'x':
        case 'X':
        case 'p': return integer(16, drop, longs, shorts);
        case 'e':
        case 'f':
        case 'g':
        case 'a':
        case 'E':
        case 'F':
        case 'G':
        case 'A': return floating(drop, longs != 0);
        case 'c': {
            if (!has_width) width_ = 1;
            std::u16string text = gather([](const std::u16string&, int) { return true; });
            if (static_cast<int>(text.size()) < width_) return false;
            if (!drop) store_text(text, false);
            return true;
        }
        case 's': {
            std::u16string text = gather([](const std::u16string&, int ch) { return !is_space(ch); });
            if (text.empty()) return false;
            if (!drop) store_text(text, true);
            return true;
        }
        case '[': return set(drop);
        case 'n':
            if (!drop) mem_.write_n(target(), consumed_, shorts != 0 ? 1 : longs > 1 ? 4 : 2);
            return true;
        case '%': return match('%');
        default: trap(text_of("scanf with the unknown conversion '%%%c'", c));
        }
    }

    bool integer(int base, bool drop, int longs, int shorts) {
        auto digit = [&](int c) {
            int v = c >= '0' && c <= '9' ? c - '0' : (c | 32) >= 'a' && (c | 32) <= 'f' ? (c | 32) - 'a' + 10 : 99;
            return v < (base == 0 ? 16 : base);
        };
        std::string text = narrow(gather([&](const std::u16string& so_far, int c) {
            if (so_far.empty() && (c == '+' || c == '-')) return true;
            size_t sign = !so_far.empty() && (so_far[0] == '+' || so_far[0] == '-') ? 1 : 0;
            bool may_be_prefix = (base == 0 || base == 16) && so_far.size() == sign + 1 && so_far[sign] == '0';
            if (may_be_prefix && (c | 32) == 'x') return true;
            if (base == 0) { // decimal unless a prefix said otherwise
                bool hex = so_far.size() > sign + 1 && (so_far[sign + 1] | 32) == 'x';
                bool octal = so_far.size() > sign && so_far[sign] == '0';
                return hex ? digit(c) : c >= '0' && c <= (octal ? '7' : '9');
            }
            return digit(c);
        }));
        char* end = nullptr;
        bool negative = !text.empty() && text[0] == '-';
        uint64_t v =
            negative ? static_cast<uint64_t>(strtoll(text.c_str(), &end, base)) : strtoull(text.c_str(), &end, base);
        if (end == text.c_str()) return false;
        if (!drop) store(v, shorts != 0 ? 1 : longs > 1 ? 4 : 2);
        return true;
    }

    bool floating(bool drop, bool is_double) {
        FLOAT_TEXT number;
        gather([&](const std::u16string&, int c) { return number.take(c); });
        const std::string& text = number.text();
        char* end = nullptr;
        double v = strtod(text.c_str(), &end);
        if (end == text.c_str() || *end != 0) return false;
        if (drop) return true;
        if (is_double)
            store(std::bit_cast<uint64_t>(v), 4);
        else
            store(std::bit_cast<uint32_t>(strtof(text.c_str(), nullptr)), 2);
        return true;
    }

    bool set(bool drop) {
        ++at_;
        bool invert = mem_.read16(at_) == '^';
        if (invert) ++at_;
        std::vector<bool> in(0x10000, false);
        for (bool first = true;; first = false, ++at_) {
            uint16_t c = mem_.read16(at_);
            if (c == 0) return false;
            if (c == ']' && !first) break;
            uint16_t to = c;
            if (mem_.read16(at_ + 1) == '-' && mem_.read16(at_ + 2) != ']' && mem_.read16(at_ + 2) != 0) {
                to = mem_.read16(at_ + 2);
                at_ += 2;
            }
            for (int k = c; k <= to; ++k) in[static_cast<size_t>(k)] = true;
        }
        std::u16string text =
            gather([&](const std::u16string&, int c) { return in[static_cast<size_t>(c)] != invert; });
        if (text.empty()) return false;
        if (!drop) store_text(text, true);
        return true;
    }

    MEMORY& mem_;
    ADDRESS at_, next_;
    const std::function<int()>& read_;
    const std::function<void(int)>& unread_;
    int width_ = 0, stored_ = 0;
    uint32_t consumed_ = 0;
    bool at_end_ = false;
};

} // namespace

int scan_text(VM& vm, ADDRESS format, ADDRESS area, const std::function<int()>& read,
              const std::function<void(int)>& unread) {
    return SCANNER(vm, format, area, read, unread).run();
}
