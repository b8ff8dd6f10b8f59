// The encodings of the fields, writing. A record is built in the buffer and issued whole by i_flush.
#include "driver/safealloc.h"
#include "icode/if.h"
#include "ir/types.h"

#include <cstring>

void I_FILE::i_write_i8(int v) { buffer.push_back(static_cast<uint8_t>(v)); }

void I_FILE::i_write_i16(int v) {
    if (v < -32768 || v > 65535) {
        fputs(">> Value exceeds size of short\n", stdout);
        end_run(1);
    }
    buffer.push_back(static_cast<uint8_t>(v));
    buffer.push_back(static_cast<uint8_t>(v >> 8));
}

void I_FILE::i_write_i32(uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8) buffer.push_back(static_cast<uint8_t>(v >> shift));
}

void I_FILE::i_write_uint(uint32_t v) {
    for (; v >= 0x80; v >>= 7) buffer.push_back(static_cast<uint8_t>(v | 0x80));
    buffer.push_back(static_cast<uint8_t>(v));
}

void I_FILE::i_write_sint(int32_t v) {
    for (;;) {
        int low = v & 0x7f;
        v >>= 7;
        bool last = (v == 0 && (low & 0x40) == 0) || (v == -1 && (low & 0x40) != 0);
        buffer.push_back(static_cast<uint8_t>(last ? low : low | 0x80));
        if (last) return;
    }
}

void I_FILE::i_write_raw(const void* from, uint32_t n) {
    const auto* bytes = static_cast<const uint8_t*>(from);
    buffer.insert(buffer.end(), bytes, bytes + n);
}

void I_FILE::i_write_string(const char* s, uint32_t n) {
    i_write_raw(s, n != 0 ? n : static_cast<uint32_t>(strlen(s) + 1));
}

void I_FILE::i_write_typeref(TYPE* t) {
    if (t == nullptr) {
        buffer.push_back(0);
        return;
    }
    t = t->final_type();
    if (t->uid == 0) t = types->type_frozen(t); // its lists never came
    t->refd = true;
    i_write_uint(t->uid);
}

void I_FILE::i_write_psn(const PSN* psn) {
    if (psn == nullptr) {
        buffer.push_back(0);
        return;
    }
    i_write_uint(i_enter_file_name(psn->file != nullptr ? psn->file : "NO_FILE"));
    i_write_uint(psn->line);
    i_write_uint(psn->column);
}

void I_FILE::i_write_eof() { putc(REC_EOF, stream); }

void I_FILE::i_flush(int id) {
    size_t n = buffer.size();
    i_write_uint(static_cast<uint32_t>(n));
    putc(id, stream);
    fwrite(buffer.data() + n, 1, buffer.size() - n, stream);
    fwrite(buffer.data(), 1, n, stream);
    buffer.clear();
}
