// The encodings of the fields, reading.
#include "icode/if.h"

#include <cstring>

namespace {
constexpr int string_buffer_size = 32768;
}

void I_FILE::i_read_header(int& id, uint32_t& size) {
    record_start = static_cast<long>(cursor);
    size = 0;
    if (cursor >= input.size()) {
        hit_end = true;
        id = REC_EOF;
        return;
    }
    id = input[cursor++];
    if (id != REC_EOF) size = i_read_uint();
}

void I_FILE::i_read_skip(uint32_t n) {
    if (n > input.size() - cursor) {
        hit_end = true;
        cursor = input.size();
        return;
    }
    cursor += n;
}

uint8_t I_FILE::i_read_u8() {
    if (cursor >= input.size()) {
        hit_end = true;
        return 0;
    }
    return input[cursor++];
}

int8_t I_FILE::i_read_s8() { return static_cast<int8_t>(i_read_u8()); }
bool I_FILE::i_read_bool() { return i_read_u8() != 0; }

uint16_t I_FILE::i_read_u16() {
    unsigned low = i_read_u8();
    return static_cast<uint16_t>(low | i_read_u8() << 8);
}
int16_t I_FILE::i_read_s16() { return static_cast<int16_t>(i_read_u16()); }

uint32_t I_FILE::i_read_u32() {
    uint32_t low = i_read_u16();
    return low | static_cast<uint32_t>(i_read_u16()) << 16;
}
int32_t I_FILE::i_read_s32() { return static_cast<int32_t>(i_read_u32()); }

uint32_t I_FILE::i_read_uint() {
    uint32_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
        uint8_t byte = i_read_u8();
        if (shift < 32) value |= static_cast<uint32_t>(byte & 0x7f) << shift;
        if ((byte & 0x80) == 0) return value;
    }
}

int32_t I_FILE::i_read_sint() {
    uint32_t value = 0;
    unsigned shift = 0;
    uint8_t byte;
    do {
        byte = i_read_u8();
        if (shift < 32) value |= static_cast<uint32_t>(byte & 0x7f) << shift;
        shift += 7;
    } while (byte & 0x80);
    if (shift < 32 && (byte & 0x40)) value |= ~uint32_t{0} << shift;
    return static_cast<int32_t>(value);
}

void I_FILE::i_read_raw(void* to, uint32_t n) {
    size_t have = input.size() - cursor;
    size_t take = n < have ? n : have;
    if (take != 0) memcpy(to, input.data() + cursor, take);
    if (take < n) {
        hit_end = true;
        memset(static_cast<char*>(to) + take, 0, n - take);
    }
    cursor += take;
}

const char* I_FILE::i_read_string(uint32_t n) {
    const auto* start = reinterpret_cast<const char*>(input.data()) + cursor;
    size_t have = input.size() - cursor;
    size_t length;
    if (n != 0) {
        length = n < have ? n : have;
        hit_end |= length < n;
        cursor += length;
    } else {
        const void* end = have != 0 ? memchr(start, 0, have) : nullptr;
        length = end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - start) : have;
        hit_end |= end == nullptr;
        cursor += length + (end != nullptr ? 1 : 0);
    }
    if (string_buffer.size() < length + 1) string_buffer.resize(length + string_buffer_size);
    if (length != 0) memcpy(string_buffer.data(), start, length);
    string_buffer[length] = 0;
    return string_buffer.data();
}

PSN* I_FILE::i_read_psn() {
    uint32_t file = i_read_uint();
    if (file == 0) return nullptr;
    uint32_t line = i_read_uint();
    uint32_t column = i_read_uint();
    return new PSN(i_get_file_name(file), line, column);
}
