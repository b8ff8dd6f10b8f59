#include "ir/int65.h"

#include <gtest/gtest.h>
#include <random>

// 65-bit arithmetic against 128-bit arithmetic cut to 65 bits.
TEST(int65, agrees_with_wide_arithmetic) {
    auto cut = [](__int128 v) { return static_cast<__int128>(static_cast<unsigned __int128>(v) << 63) >> 63; };
    std::mt19937_64 random(1);
    auto any = [&] {
        static const long long edges[] = {0, 1, -1, INT32_MAX, INT32_MIN, UINT32_MAX, INT64_MAX, INT64_MIN, 65535};
        return random() % 3 == 0 ? INT65(edges[random() % 9])
               : random() % 2    ? INT65(random())
                                 : INT65(static_cast<long long>(random()));
    };
    for (int i = 0; i < 200000; i++) {
        INT65 a = any(), b = any();
        __int128 x = a.to_wide(), y = b.to_wide();
        ASSERT_EQ((a + b).to_wide(), cut(x + y));
        ASSERT_EQ((a - b).to_wide(), cut(x - y));
        ASSERT_EQ((a * b).to_wide(),
                  cut(static_cast<__int128>(static_cast<unsigned __int128>(x) * static_cast<unsigned __int128>(y))));
        if (y != 0) {
            ASSERT_EQ((a / b).to_wide(), cut(x / y));
            ASSERT_EQ((a % b).to_wide(), cut(x % y));
        }
        unsigned n = static_cast<unsigned>(random() % 70);
        ASSERT_EQ((a >> n).to_wide(), x >> n);
        ASSERT_EQ((a << n).to_wide(), n >= 65 ? 0 : cut(static_cast<__int128>(static_cast<unsigned __int128>(x) << n)));
        ASSERT_EQ(a < b, x < y);
        INT65 back;
        ASSERT_TRUE(text_to_int65(int65_to_text(a).c_str(), back));
        ASSERT_EQ(back, a);
    }
}

TEST(int65, extension_and_limits) {
    EXPECT_EQ(INT65(-1).zero_extended(32), INT65(4294967295u));
    EXPECT_EQ(INT65(0x8000).sign_extended(16), INT65(-32768));
    EXPECT_EQ(INT65(-1).zero_extended(64), INT65(~0ull));
    EXPECT_TRUE(INT65(INT32_MIN).fits_s32());
    EXPECT_FALSE(INT65(2147483648u).fits_s32());
    EXPECT_FALSE(INT65(-1).fits_u32());
    INT65 v(7);
    for (const char* bad : {"", "-", "12x", " 1", "+1"}) EXPECT_FALSE(text_to_int65(bad, v)) << bad;
    EXPECT_EQ(v, INT65(7));
}
