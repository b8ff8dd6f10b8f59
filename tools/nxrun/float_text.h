// The text of a floating number, taken character by character as long as it can still become one: a decimal or
// hexadecimal number, an infinity or a NaN.
#ifndef NXRUN_FLOAT_TEXT_H
#define NXRUN_FLOAT_TEXT_H

#include <string>

class FLOAT_TEXT {
  public:
    // Takes the character if a number can begin with the text so far and then this; else it stays as it was.
    bool take(int c) {
        if (!fits(c >= 'A' && c <= 'Z' ? c + 32 : c)) return false;
        text_ += static_cast<char>(c);
        return true;
    }
    const std::string& text() const { return text_; }

  private:
    enum STATE { BEGIN, SIGNED, ZERO, MANTISSA, EXPONENT, EXPONENT_SIGNED, WORD };

    static bool is_digit(int c) { return c >= '0' && c <= '9'; }
    bool go(STATE next) {
        state_ = next;
        return true;
    }
    bool fits(int c) {
        switch (state_) {
        case BEGIN:
            if (c == '+' || c == '-') return go(SIGNED);
            [[fallthrough]];
        case SIGNED:
            if (c == 'i' || c == 'n') {
                rest_ = c == 'i' ? "nfinity" : "an";
                return go(WORD);
            }
            if (c == '0') {
                has_digits_ = true;
                return go(ZERO);
            }
            return mantissa(c);
        case ZERO:
            if (c == 'x') {
                is_hex_ = true;
                has_digits_ = false;
                return go(MANTISSA);
            }
            return mantissa(c);
        case MANTISSA: return mantissa(c);
        case EXPONENT:
            if (c == '+' || c == '-') return go(EXPONENT_SIGNED);
            [[fallthrough]];
        case EXPONENT_SIGNED: return is_digit(c) && go(EXPONENT_SIGNED);
        case WORD: return *rest_ != 0 && c == *rest_++;
        }
        return false;
    }
    bool mantissa(int c) {
        if (is_digit(c) || (is_hex_ && c >= 'a' && c <= 'f')) {
            has_digits_ = true;
            return go(MANTISSA);
        }
        if (c == '.' && !has_point_) {
            has_point_ = true;
            return go(MANTISSA);
        }
        return has_digits_ && c == (is_hex_ ? 'p' : 'e') && go(EXPONENT);
    }

    std::string text_;
    STATE state_ = BEGIN;
    const char* rest_ = ""; // of a word
    bool is_hex_ = false, has_digits_ = false, has_point_ = false;
};

#endif
