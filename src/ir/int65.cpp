#include "ir/int65.h"

#include <algorithm>

std::string int65_to_text(INT65 v) {
    auto rest = static_cast<unsigned __int128>(v.is_negative() ? -v.to_wide() : v.to_wide());
    std::string text;
    do {
        text += static_cast<char>('0' + static_cast<int>(rest % 10));
        rest /= 10;
    } while (rest != 0);
    if (v.is_negative()) text += '-';
    std::reverse(text.begin(), text.end());
    return text;
}

bool text_to_int65(const char* text, INT65& v) {
    bool negative = *text == '-';
    if (negative) text++;
    if (*text == 0) return false;
    INT65 value;
    for (; *text; text++) {
        if (*text < '0' || *text > '9') return false;
        value = value * INT65(10) + INT65(*text - '0');
    }
    v = negative ? -value : value;
    return true;
}
