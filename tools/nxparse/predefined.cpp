// The macros that stand before the first line of every unit: the ones that C asks for beyond what the preprocessor
// brings itself, and those by which programs commonly ask a compiler for its machine. All are made of the tables here,
// so that sizes, widths, limits and types agree.
//
// What other compilers define to be recognised by, and what only an 8-bit char could have (a type of exactly 8 bits),
// is left undefined.
#include "target.h"

namespace {

// An integer type. Widths are in bits.
struct INTEGER {
    const char* name; // INT32: __INT32_TYPE__, __INT32_WIDTH__, __INT32_MAX__, and as the others say
    const char* type;
    unsigned width;
    bool is_signed;
    const char* suffix; // of a constant of the type
    enum SHOWN : unsigned { TYPE = 1, WIDTH = 2, MAX = 4, MIN = 8, CONSTANT = 16, FULL = TYPE | WIDTH | MAX };
    unsigned shown;
};

const INTEGER integers[] = {
    {"SCHAR", "signed char", 16, true, "", INTEGER::WIDTH | INTEGER::MAX},
    {"SHRT", "short", 16, true, "", INTEGER::WIDTH | INTEGER::MAX},
    {"INT", "int", 32, true, "", INTEGER::WIDTH | INTEGER::MAX},
    {"LONG", "long int", 32, true, "L", INTEGER::WIDTH | INTEGER::MAX},
    {"LONG_LONG", "long long int", 64, true, "LL", INTEGER::WIDTH | INTEGER::MAX},
    {"LLONG", "long long int", 64, true, "LL", INTEGER::WIDTH},
    {"BOOL", "_Bool", 16, false, "", INTEGER::WIDTH},
    {"POINTER", "int", 32, true, "", INTEGER::WIDTH},
    {"CHAR16", "unsigned short", 16, false, "", INTEGER::TYPE},
    {"CHAR32", "unsigned int", 32, false, "U", INTEGER::TYPE},
    {"WCHAR", "unsigned short", 16, false, "", INTEGER::FULL | INTEGER::MIN},
    {"WINT", "int", 32, true, "", INTEGER::FULL | INTEGER::MIN},
    {"SIG_ATOMIC", "int", 32, true, "", INTEGER::FULL | INTEGER::MIN},
    {"SIZE", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"PTRDIFF", "int", 32, true, "", INTEGER::FULL},
    {"INTPTR", "int", 32, true, "", INTEGER::FULL},
    {"UINTPTR", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"INTMAX", "long long int", 64, true, "LL", INTEGER::FULL | INTEGER::CONSTANT},
    {"UINTMAX", "long long unsigned int", 64, false, "ULL", INTEGER::FULL | INTEGER::CONSTANT},
    {"INT16", "short", 16, true, "", INTEGER::FULL | INTEGER::CONSTANT},
    {"UINT16", "unsigned short", 16, false, "", INTEGER::FULL | INTEGER::CONSTANT},
    {"INT32", "int", 32, true, "", INTEGER::FULL | INTEGER::CONSTANT},
    {"UINT32", "unsigned int", 32, false, "U", INTEGER::FULL | INTEGER::CONSTANT},
    {"INT64", "long long int", 64, true, "LL", INTEGER::FULL | INTEGER::CONSTANT},
    {"UINT64", "long long unsigned int", 64, false, "ULL", INTEGER::FULL | INTEGER::CONSTANT},
    {"INT_LEAST8", "signed char", 16, true, "", INTEGER::FULL},
    {"UINT_LEAST8", "unsigned char", 16, false, "", INTEGER::FULL},
    {"INT_LEAST16", "short", 16, true, "", INTEGER::FULL},
    {"UINT_LEAST16", "unsigned short", 16, false, "", INTEGER::FULL},
    {"INT_LEAST32", "int", 32, true, "", INTEGER::FULL},
    {"UINT_LEAST32", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"INT_LEAST64", "long long int", 64, true, "LL", INTEGER::FULL},
    {"UINT_LEAST64", "long long unsigned int", 64, false, "ULL", INTEGER::FULL},
    {"INT_FAST8", "int", 32, true, "", INTEGER::FULL},
    {"UINT_FAST8", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"INT_FAST16", "int", 32, true, "", INTEGER::FULL},
    {"UINT_FAST16", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"INT_FAST32", "int", 32, true, "", INTEGER::FULL},
    {"UINT_FAST32", "unsigned int", 32, false, "U", INTEGER::FULL},
    {"INT_FAST64", "long long int", 64, true, "LL", INTEGER::FULL},
    {"UINT_FAST64", "long long unsigned int", 64, false, "ULL", INTEGER::FULL},
};

// What __SIZEOF_name__ counts: units of 16 bits, as sizeof does.
const std::pair<const char*, unsigned> sizes[] = {
    {"SHORT", 1},       {"INT", 2},     {"LONG", 2},   {"LONG_LONG", 4}, {"FLOAT", 2},   {"DOUBLE", 4},
    {"LONG_DOUBLE", 4}, {"POINTER", 2}, {"SIZE_T", 2}, {"PTRDIFF_T", 2}, {"WCHAR_T", 1}, {"WINT_T", 2},
};

// The two floating formats: the name behind the prefix, single, double. long double has the double's.
struct FLOATING {
    const char *name, *of_float, *of_double;
    bool has_suffix; // a constant of the type itself
};
const FLOATING floatings[] = {
    {"MANT_DIG", "24", "53", false},
    {"DIG", "6", "15", false},
    {"DECIMAL_DIG", "9", "17", false},
    {"MIN_EXP", "(-125)", "(-1021)", false},
    {"MIN_10_EXP", "(-37)", "(-307)", false},
    {"MAX_EXP", "128", "1024", false},
    {"MAX_10_EXP", "38", "308", false},
    {"HAS_DENORM", "1", "1", false},
    {"HAS_INFINITY", "1", "1", false},
    {"HAS_QUIET_NAN", "1", "1", false},
    {"MAX", "3.40282347e+38", "1.7976931348623157e+308", true},
    {"MIN", "1.17549435e-38", "2.2250738585072014e-308", true},
    {"EPSILON", "1.19209290e-7", "2.2204460492503131e-16", true},
    {"DENORM_MIN", "1.40129846e-45", "4.9406564584124654e-324", true},
};

const char* const others[] = {
    "__NXPARSE__=1",
    "__ORVANE__=1",
    "__CHAR_BIT__=16",
    "__BIGGEST_ALIGNMENT__=4", // units
    "__FLT_RADIX__=2",
    "__FLT_EVAL_METHOD__=0",
    "__FINITE_MATH_ONLY__=0",
    "__DECIMAL_DIG__=17",
    "__ILP32__=1",
    "_ILP32=1",
    "__ORDER_LITTLE_ENDIAN__=1234",
    "__ORDER_BIG_ENDIAN__=4321",
    "__ORDER_PDP_ENDIAN__=3412",
    "__BYTE_ORDER__=__ORDER_LITTLE_ENDIAN__",
    "__FLOAT_WORD_ORDER__=__ORDER_LITTLE_ENDIAN__",
    "__LITTLE_ENDIAN__=1",
    "__USER_LABEL_PREFIX__=_",
    "__REGISTER_PREFIX__=",
    "__STDC_NO_COMPLEX__=1",
    "__STDC_NO_VLA__=1",
    "__STDC_NO_THREADS__=1",
    "__STDC_NO_ATOMICS__=1",
};

std::string largest(const INTEGER& t) {
    return std::to_string(~uint64_t{0} >> (64 - t.width + (t.is_signed ? 1 : 0))) + t.suffix;
}

void add_integer(std::vector<std::string>& to, const INTEGER& t) {
    const std::string stem = std::string("__") + t.name;
    auto add = [&](INTEGER::SHOWN what, const char* tail, const std::string& value) {
        if ((t.shown & what) != 0) to.push_back(stem + tail + "=" + value);
    };
    add(INTEGER::TYPE, "_TYPE__", t.type);
    add(INTEGER::WIDTH, "_WIDTH__", std::to_string(t.width));
    add(INTEGER::MAX, "_MAX__", largest(t));
    add(INTEGER::MIN, "_MIN__", t.is_signed ? "(" + ("-" + stem) + "_MAX__-1)" : "0");
    add(INTEGER::CONSTANT, "_C_SUFFIX__", t.suffix);
    add(INTEGER::CONSTANT, "_C(c)", std::string("c") + (*t.suffix != 0 ? "##" : "") + t.suffix);
}

std::vector<std::string> all_macros() {
    std::vector<std::string> all(std::begin(others), std::end(others));
    for (const INTEGER& t : integers) add_integer(all, t);
    for (auto& [name, units] : sizes) all.push_back(std::string("__SIZEOF_") + name + "__=" + std::to_string(units));
    for (const FLOATING& f : floatings) {
        auto add = [&](const char* prefix, std::string value, const char* suffix) {
            all.push_back(std::string("__") + prefix + "_" + f.name + "__=" + value + (f.has_suffix ? suffix : ""));
        };
        add("FLT", f.of_float, "F");
        add("DBL", f.of_double, "");
        add("LDBL", f.of_double, "L");
    }
    return all;
}

} // namespace

const std::vector<std::string>& predefined_macros() {
    static const std::vector<std::string> macros = all_macros();
    return macros;
}
