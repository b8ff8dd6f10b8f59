// The encodings of fields, the magic record, and what the reader does with files that are no icode files.
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using BYTES = std::vector<uint8_t>;

// A client that takes everything and keeps nothing but symbols.
struct NULL_CLIENT : IF_CLIENT {
    SYMTAB* cl_symbol_create(const char* name, TYPE* type, TYPE*, uint32_t size, uint32_t aln, uint32_t offset,
                             uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t, uint32_t) override {
        return new SYMTAB(name, size, offset, sclass, scqual, type, type, aln, psn, 0);
    }
};

BYTES contents(FILE* stream) {
    BYTES bytes;
    rewind(stream);
    for (int c; (c = getc(stream)) != EOF;) bytes.push_back(static_cast<uint8_t>(c));
    return bytes;
}

// What one field write puts into a record's body.
template <typename F> BYTES body_of(F&& write) {
    I_FILE f;
    f.writing = true;
    write(f);
    return f.buffer;
}

I_FILE reader_on(BYTES bytes) {
    I_FILE f;
    f.input = std::move(bytes);
    return f;
}

FILE* stream_of(const BYTES& bytes) {
    FILE* stream = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), stream);
    rewind(stream);
    return stream;
}

BYTES empty_file(int version, int cpu) {
    BYTES bytes{8, 0};
    for (char c : std::string("!<icode>\n")) bytes.push_back(static_cast<uint8_t>(c));
    bytes.push_back(0);
    for (int v : {version, cpu}) {
        bytes.push_back(static_cast<uint8_t>(v));
        bytes.push_back(static_cast<uint8_t>(v >> 8));
    }
    bytes.insert(bytes.end(), 20, 0);
    bytes.push_back('t');
    bytes.push_back(0);
    if (version >= -83) bytes.insert(bytes.end(), 4, 0);
    bytes[1] = static_cast<uint8_t>(bytes.size() - 2);
    bytes.push_back(255);
    return bytes;
}

} // namespace

TEST(encoding, unsigned_numbers_are_leb128) {
    const std::pair<uint32_t, BYTES> cases[] = {
        {0, {0}}, {127, {127}}, {128, {0x80, 1}}, {200, {0xc8, 1}}, {0xffffffff, {0xff, 0xff, 0xff, 0xff, 0x0f}}};
    for (const auto& [value, bytes] : cases) {
        EXPECT_EQ(body_of([v = value](I_FILE& f) { f.i_write_uint(v); }), bytes) << value;
        EXPECT_EQ(reader_on(bytes).i_read_uint(), value);
    }
    // groups beyond the 32nd bit do not matter
    EXPECT_EQ(reader_on({0x81, 0x80, 0x80, 0x80, 0x80, 0x7f}).i_read_uint(), 1u);
}

TEST(encoding, signed_numbers_are_sign_extended) {
    const std::pair<int32_t, BYTES> cases[] = {{0, {0}},
                                               {-1, {0x7f}},
                                               {63, {63}},
                                               {64, {0xc0, 0}},
                                               {-64, {0x40}},
                                               {-65, {0xbf, 0x7f}},
                                               {-56, {0x48}},
                                               {200, {0xc8, 1}},
                                               {INT32_MIN, {0x80, 0x80, 0x80, 0x80, 0x78}},
                                               {INT32_MAX, {0xff, 0xff, 0xff, 0xff, 0x07}}};
    for (const auto& [value, bytes] : cases) {
        EXPECT_EQ(body_of([v = value](I_FILE& f) { f.i_write_sint(v); }), bytes) << value;
        EXPECT_EQ(reader_on(bytes).i_read_sint(), value);
    }
}

TEST(encoding, fixed_fields_strings_and_positions) {
    EXPECT_EQ(body_of([](I_FILE& f) { f.i_write_i16(-73); }), (BYTES{0xb7, 0xff}));
    EXPECT_EQ(reader_on({0xb7, 0xff}).i_read_s16(), -73);
    EXPECT_EQ(body_of([](I_FILE& f) { f.i_write_psn(nullptr); }), (BYTES{0}));
    EXPECT_EQ(body_of([](I_FILE& f) { f.i_write_typeref(nullptr); }), (BYTES{0}));
    I_FILE counted = reader_on({'a', 0, 'b', 'c'});
    EXPECT_EQ(memcmp(counted.i_read_string(3), "a\0b", 3), 0);
    EXPECT_EQ(counted.i_read_u8(), 'c');
    I_FILE writer;
    writer.writing = true;
    PSN named("f.c", 7, 300), nameless(nullptr, 1, 2);
    writer.i_write_psn(&named);
    writer.i_write_psn(&nameless);
    EXPECT_EQ(writer.buffer, (BYTES{1, 7, 0xac, 2, 2, 1, 2}));
    EXPECT_STREQ(writer.i_get_file_name(2), "NO_FILE");
    EXPECT_EQ(writer.i_get_file_name(0), nullptr);
    EXPECT_EQ(writer.i_get_file_name(3), nullptr);
    for (int v : {-32769, 65536})
        EXPECT_EXIT(body_of([v](I_FILE& f) { f.i_write_i16(v); }), testing::ExitedWithCode(1), "");
}

TEST(encoding, reading_behind_the_end_gives_zeros_and_is_noticed) {
    I_FILE f = reader_on({0x80});
    EXPECT_EQ(f.i_read_uint(), 0u);
    EXPECT_TRUE(f.at_end());
    I_FILE text = reader_on({'a'});
    EXPECT_STREQ(text.i_read_string(), "a");
    EXPECT_TRUE(text.at_end());
    int id;
    uint32_t size;
    I_FILE header = reader_on({});
    header.i_read_header(id, size);
    EXPECT_EQ(id, 255);
}

TEST(magic, window_of_versions_and_cpu) {
    NULL_CLIENT client;
    for (int version : {-86, -84, -83, -73}) {
        I_FILE* f = if_open(stream_of(empty_file(version, 1000)), &client);
        ASSERT_NE(f, nullptr) << version;
        EXPECT_EQ(f->version, version);
        f->if_close(true, false);
    }
    EXPECT_EQ(if_open(stream_of(empty_file(-87, 1000)), &client), nullptr);
    EXPECT_EQ(if_open(stream_of(empty_file(-72, 1000)), &client), nullptr);
    EXPECT_EQ(if_open(stream_of(empty_file(-73, 999)), &client), nullptr);
    for (size_t length : {0u, 1u, 11u, 20u}) {
        BYTES cut = empty_file(-73, 1000);
        cut.resize(length);
        EXPECT_EQ(if_open(stream_of(cut), &client), nullptr) << length;
    }
}

TEST(magic, an_empty_file_has_only_the_global_section) {
    FILE* stream = tmpfile();
    tp = tp_alloc();
    tp->init_type_pkg();
    FILE* second = fdopen(dup(fileno(stream)), "r+");
    I_FILE* f = if_create(stream, tp, "text");
    ASSERT_EQ(f->if_close(true, false), 0);
    BYTES bytes = contents(second);
    fclose(second);
    // magic record, end of the body, end of the global section
    ASSERT_EQ(bytes.size(), 2u + 10 + 4 + 20 + 5 + 4 + 2);
    EXPECT_EQ(bytes[bytes.size() - 1], 255);
    EXPECT_EQ(bytes[bytes.size() - 2], 255);
    EXPECT_EQ(bytes[16 + 16], bytes.size() - 1); // offset of the global section
    EXPECT_EQ(bytes[16], 0);                     // no option section
}
