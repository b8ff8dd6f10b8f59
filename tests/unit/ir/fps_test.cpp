// The target arithmetic: flags, forms, texts, edges. tests/differential/fpcheck.cpp compares it at large with the
// host's.
#include "ir/fps.h"
#include "ir/node.h"
#include "ir/types.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

simul_fval read(const char* text) {
    simul_fval v;
    EXPECT_EQ(f_atof(text, &v), 0) << text;
    return v;
}

std::string written(const simul_fval& v, const char* format = "%a") { return f_ftoa(format, &v); }

using BINARY = int (*)(const simul_fval*, const simul_fval*, simul_fval*);
using UNARY = int (*)(const simul_fval*, simul_fval*);

// "result flags", and the operation must return its flags.
std::string apply(BINARY f, const char* x, const char* y) {
    const simul_fval a = read(x), b = read(y);
    simul_fval r;
    fp_error = 0;
    EXPECT_EQ(f(&a, &b, &r), fp_error);
    return written(r, "%.17g") + " " + std::to_string(fp_error);
}
std::string apply(UNARY f, const char* x) {
    const simul_fval a = read(x);
    simul_fval r;
    fp_error = 0;
    EXPECT_EQ(f(&a, &r), fp_error);
    return written(r, "%.17g") + " " + std::to_string(fp_error);
}

std::string dumped(const simul_fval& v) {
    char* text = nullptr;
    size_t size;
    FILE* file = open_memstream(&text, &size);
    f_dbg(file, &v);
    fclose(file);
    std::string result = text;
    free(text);
    return result;
}

} // namespace

TEST(fps, what_goes_wrong_is_flagged) {
    EXPECT_EQ(apply(f_mul, "inf", "0"), "NaN 1");
    EXPECT_EQ(apply(f_add, "inf", "-inf"), "NaN 1");
    EXPECT_EQ(apply(f_div, "0", "-0"), "NaN 1");
    EXPECT_EQ(apply(f_div, "1", "-0"), "-Inf 4");
    EXPECT_EQ(apply(f_sqrt, "-1"), "NaN 1");
    EXPECT_EQ(apply(f_sqrt, "-0"), "-0 0");
    EXPECT_EQ(apply(f_fmod, "1", "0"), "NaN 1");
    EXPECT_EQ(apply(f_mul, "nan", "inf"), "NaN 0");
    EXPECT_EQ(apply(f_mul, "0x1p20000", "-0x1p20000"), "-Inf 4"); // beyond all there is
    EXPECT_EQ(apply(f_mul, "0x1p-20000", "-0x1p-20000"), "-0 8");
    EXPECT_EQ(apply(f_log, "0"), "-Inf 4");
    EXPECT_EQ(apply(f_log, "-1"), "NaN 1");
    EXPECT_EQ(apply(f_pow, "-0", "-3"), "-Inf 4");
    EXPECT_EQ(apply(f_pow, "-2", "0.5"), "NaN 1");
    EXPECT_EQ(apply(f_exp, "1e10"), "Inf 4");
    EXPECT_EQ(apply(f_exp, "-1e10"), "0 8");
    EXPECT_EQ(apply(f_asin, "1.5"), "NaN 1");
    EXPECT_EQ(apply(f_sin, "inf"), "NaN 1");
}

TEST(fps, target_patterns_at_the_edges) {
    simul_fval v, half;
    trg_fval pattern{1};
    f_cvt_ttos(&pattern, &v, 1);
    fp_error = 0;
    pattern.bits = 0;
    EXPECT_EQ(f_cvt_stot(&v, &pattern, 1), 0);
    EXPECT_EQ(pattern.bits, 1u);
    EXPECT_EQ(fp_error, 0);
    f_ldexp(&v, -1, &half);
    EXPECT_EQ(f_cvt_stot(&half, &pattern, 1), 1);
    EXPECT_EQ(pattern.bits, 0u);
    EXPECT_EQ(fp_error, 8);

    unsigned bits;
    fp_error = 0;
    v = read("0x1.ffffffp127"); // halfway from the largest float to the next power of 2
    EXPECT_EQ(ieee_cvt_stof(&v, &bits), 1);
    EXPECT_EQ(bits, 0x7f800000u);
    EXPECT_EQ(fp_error, 4);
    v = read("-nan");
    EXPECT_EQ(ieee_cvt_stof(&v, &bits), 0);
    EXPECT_EQ(bits, 0xffc00000u);
    trg_fval both[2];
    EXPECT_EQ(f_cvt_stot(&v, both, 2), 0);
    EXPECT_EQ(both[0].bits, 0xfff80000u);
    EXPECT_EQ(both[1].bits, 0u);
}

// 1 + 2^-24 lies halfway between two floats; what a sum adds behind it, as far off as a double goes, must not be lost
// on the way to float.
TEST(fps, a_result_is_rounded_once) {
    TYPE_PKG* kept = tp;
    tp = tp_alloc();
    tp->init_type_pkg();
    const simul_fval halfway = read("0x1.000001p0");
    for (const char* tiny : {"0x1p-60", "0x1p-150", "0x1p-1074"}) {
        const simul_fval more = read(tiny);
        simul_fval up, down;
        f_add(&halfway, &more, &up);
        f_sub(&halfway, &more, &down);
        truncate_fval_to_target(&up, tp->float_type());
        truncate_fval_to_target(&down, tp->float_type());
        EXPECT_EQ(written(up), "0x1.000002p+0") << tiny;
        EXPECT_EQ(written(down), "0x1p+0") << tiny;
    }
    TYPE* double_type = tp->mk_fltpt(TYPE::F_DOUBLE, 64, 64);
    simul_fval v = read("0x1.00000000000018p0");
    truncate_fval_to_target(&v, double_type);
    EXPECT_EQ(written(v), "0x1.0000000000002p+0");
    NODE* node = new_node(FCON, double_type);
    node->mk_fcon("4.9406564584124654e-324");
    EXPECT_STREQ(node->fcon_value(), "0x0.0000000000001p-1022");
    erase_tree(node);
    tp = kept;
}

TEST(fps, equal_values_of_other_alignment) {
    simul_fval aligned = read("13.5"), justified = aligned, right = aligned;
    f_left_justify(&justified);
    EXPECT_EQ(justified.exponent, 4);
    EXPECT_EQ(justified.mantissa[0], 0xd800);
    memmove(right.mantissa + 2, right.mantissa, 4);
    right.mantissa[0] = right.mantissa[1] = 0;
    right.exponent += 32;
    for (const simul_fval* v : {&justified, &right}) {
        EXPECT_TRUE(f_eq(&aligned, v) && f_le(v, &aligned) && f_ge(&aligned, v) && f_bit_eq(&aligned, v));
        EXPECT_FALSE(f_ne(&aligned, v) || f_lt(&aligned, v) || f_gt(v, &aligned));
        EXPECT_EQ(apply(f_sub, "13.5", "13.5"), "0 0");
        simul_fval sum;
        f_add(v, v, &sum);
        EXPECT_EQ(written(sum, "%g"), "27");
    }
    f_align_radix_pt(&justified);
    EXPECT_EQ(dumped(justified), dumped(aligned));
    EXPECT_TRUE(f_eq(&pos_zero, &neg_zero));
    EXPECT_FALSE(f_bit_eq(&pos_zero, &neg_zero));
    EXPECT_TRUE(f_bit_eq(&a_nan, &a_nan));
    EXPECT_FALSE(f_eq(&a_nan, &a_nan));
    EXPECT_EQ(f_max(&a_nan, &one, 0), &one);
    EXPECT_EQ(f_min(&one, &a_nan, 1), &a_nan);
    EXPECT_EQ(f_max(&neg_zero, &pos_zero, 0), &pos_zero);
    EXPECT_EQ(f_min(&two, &one, 0), &one);
    EXPECT_EQ(f_sgn(&neg_infin), -1);
}

TEST(fps, the_form) {
    EXPECT_EQ(dumped(read("13.5")), " mant: 000d 8000 0000 0000 exp:  16, sign: 0\n");
    EXPECT_EQ(dumped(read("-0x1.0000000000001p0")),
              " mant: 0001 0000 0000 0000 1000 0000 0000 0000 exp:  16, sign: 1\n");
    uint16_t words[5] = {0, 0, 0, 7, 9};
    int exponent = 5;
    f_normalize(words + 1, &exponent, 4);
    EXPECT_EQ(words[1], 7);
    EXPECT_EQ(words[2], 9);
    EXPECT_EQ(words[3], 0);
    EXPECT_EQ(exponent, -27);
    words[0] = 1;
    f_normalize(words + 1, &exponent, 4);
    EXPECT_EQ(words[1], 1);
    EXPECT_EQ(words[2], 7);
    EXPECT_EQ(exponent, -11);
    uint16_t nothing[3] = {};
    f_normalize(nothing + 1, &exponent, 2);
    EXPECT_EQ(exponent, 0);

    precise_sim_fval precise;
    simul_fval v;
    precise.words[1] = 0x8000;
    precise.exponent = 1;
    f_rnd_prectbl(&precise, &v, 0);
    EXPECT_TRUE(f_bit_eq(&v, &one));
    precise.words[FVAL_PRECISE_WORDS] = 1; // far behind: the last word becomes odd
    f_rnd_prectbl(&precise, &v, 0);
    EXPECT_TRUE(f_gt(&v, &one));
    EXPECT_EQ(v.mantissa[FVAL_WORDS - 1], 1);

    v.exponent = FVAL_SPECIAL + 1;
    unsigned bits;
    testing::internal::CaptureStderr();
    ieee_cvt_stof(&v, &bits);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), ">>>Internal Error: Illegal float representation!\n");
    EXPECT_EQ(bits, 0x7fc00000u);
}

TEST(fps, integers) {
    long long i;
    unsigned long long u;
    int n;
    const simul_fval big = read("9223372036854775808"), low = read("-9223372036854775808.0"), minus = read("-1");
    EXPECT_NE(f_ftoi(&big, &i), 0);
    EXPECT_EQ(i, LLONG_MAX);
    EXPECT_EQ(f_ftoi(&low, &i), 0);
    EXPECT_EQ(i, LLONG_MIN);
    EXPECT_EQ(f_ftou(&big, &u), 0);
    EXPECT_EQ(u, 1ull << 63);
    EXPECT_NE(f_ftou(&minus, &u), 0);
    EXPECT_EQ(u, 0u);
    EXPECT_NE(f_ftoi(&a_nan, &i), 0);
    EXPECT_EQ(i, 0);
    EXPECT_NE(f_int(&big, &n), 0);
    EXPECT_EQ(n, INT_MAX);
    simul_fval v;
    f_utof(ULLONG_MAX, &v);
    EXPECT_EQ(written(v, "%.0f"), "18446744073709551615");
    f_itof(LLONG_MIN, &v);
    EXPECT_TRUE(f_bit_eq(&v, &low));
}

TEST(fps, texts) {
    simul_fval v;
    for (const char* bad : {"", "-", ".", "1e", "1e+", "0x", "0x.", "0x1p", "1x", " 1", "1 ", "1.2.3", "--1", "na",
                            "infin", "1f", "0x1g", "e5", "+-1"}) {
        v = one;
        EXPECT_NE(f_atof(bad, &v), 0) << bad;
        EXPECT_TRUE(f_bit_eq(&v, &pos_zero)) << bad;
    }
    EXPECT_EQ(written(read("-Infinity")), "-Inf");
    EXPECT_EQ(written(read("-nan")), "NaN");
    EXPECT_EQ(written(read("+.5e1"), "<%06.2f%%>"), "<005.00%>");
    EXPECT_EQ(written(read("0x.8P+4"), "%G"), "8");
    // Long texts: the first digit that counts may come late.
    const std::string zeros(100000, '0');
    EXPECT_EQ(written(read(("1" + zeros + "e-100000").c_str())), "0x1p+0");
    EXPECT_EQ(written(read(("0." + zeros + "1e100001").c_str())), "0x1p+0");
    v = read(("1" + zeros + "1e-100001").c_str());
    EXPECT_TRUE(f_gt(&v, &one));
    fp_error = 0;
    EXPECT_EQ(written(read("1e999999999999999999999")), "Inf");
    EXPECT_EQ(fp_error, 4);
    fp_error = 0;
    EXPECT_EQ(written(read("-1e-999999999999999999999")), "-0x0p+0");
    EXPECT_EQ(fp_error, 8);

    v = read("9.9996");
    int point;
    std::string digits;
    f_ecvt(&v, 4, &point, &digits);
    EXPECT_EQ(digits + "@" + std::to_string(point), "1000@2");
    f_fcvt(&v, 2, &point, &digits);
    EXPECT_EQ(digits + "@" + std::to_string(point), "1000@2");
    v = read("0.004");
    f_fcvt(&v, 2, &point, &digits);
    EXPECT_EQ(digits + "@" + std::to_string(point), "@-2");
    v = read("-1.96875");
    f_acvt(&v, 1, &point, &digits);
    EXPECT_EQ(digits + "@" + std::to_string(point), "20@0");
    v = read("0.1");
    f_f2ascii(&v, &digits);
    EXPECT_EQ(digits, "0.1");
    f_utoa(ULLONG_MAX, &digits);
    EXPECT_EQ(digits, "18446744073709551615");
    char room[16];
    EXPECT_EQ(f_ftoa(room, "%.3e", &v), 9);
    EXPECT_STREQ(room, "1.000e-01");
}
