#include "ir/fps.h"

#include "ir/types.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <strings.h>

bool f_atof(const char* text, TYPE* type, simul_fval& result) {
    result.value = 0.0;
    bool negative = *text == '-';
    const char* digits = *text == '-' || *text == '+' ? text + 1 : text;
    if (strcasecmp(digits, "nan") == 0)
        result.value = std::numeric_limits<double>::quiet_NaN();
    else if (strcasecmp(digits, "inf") == 0 || strcasecmp(digits, "infinity") == 0)
        result.value = std::numeric_limits<double>::infinity();
    else {
        if (*digits != '.' && (*digits < '0' || *digits > '9')) return false;
        char* end = nullptr;
        // A float is rounded from the text itself: by way of double it could be rounded twice.
        result.value = type != nullptr && type->size() == 32 ? strtof(digits, &end) : strtod(digits, &end);
        if (*end != 0) return false;
    }
    if (negative) result.value = std::copysign(result.value, -1.0);
    return true;
}

std::string f_ftoa(const char* format, const simul_fval& v) {
    if (std::isnan(v.value)) return "NaN";
    if (std::isinf(v.value)) return v.value < 0 ? "-Inf" : "Inf";
    char text[400];
    snprintf(text, sizeof text, format, v.value);
    return text;
}

void truncate_fval_to_target(simul_fval& v, TYPE* type) {
    if (type != nullptr && type->size() == 32) v.value = static_cast<float>(v.value);
}

bool f_bit_eq(const simul_fval& a, const simul_fval& b) {
    return std::bit_cast<uint64_t>(a.value) == std::bit_cast<uint64_t>(b.value);
}
