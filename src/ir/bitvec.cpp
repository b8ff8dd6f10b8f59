#include "ir/bitvec.h"

#include "driver/safealloc.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace {
constexpr uint32_t words_for(uint32_t bits) { return (bits + 31) / 32; }
} // namespace

BITVEC::~BITVEC() {
    if (zone == nullptr) free(data);
}

void BITVEC::bv_init(uint32_t bits, MZONE* owner, BV_TINIT init) {
    size = bits;
    words = capacity = words_for(bits);
    zone = owner;
    data = static_cast<uint32_t*>(init == BV_CLEAR ? safecalloc(words, 4) : safemalloc(size_t{words} * 4));
    if (init == BV_SET) {
        memset(data, 0xff, size_t{words} * 4);
        if (bits & 31) data[words - 1] = (1u << (bits & 31)) - 1;
    }
}

BITVEC& BITVEC::operator=(const BITVEC& from) {
    if (this == &from) return *this;
    bv_resize(from.size);
    memcpy(data, from.data, size_t{words} * 4);
    return *this;
}

void BITVEC::bv_resize(uint32_t bits) {
    uint32_t need = words_for(bits);
    if (need > capacity) {
        data = static_cast<uint32_t*>(saferealloc(data, size_t{need} * 4));
        capacity = need;
    }
    for (uint32_t w = words; w < need; w++) data[w] = 0;
    words = need;
    size = bits;
    if (bits & 31) data[words - 1] &= (1u << (bits & 31)) - 1; // a smaller size drops members
}

void BITVEC::bv_add(uint32_t i) {
    if (i >= size) {
        // Growing by doubling keeps a run of additions linear.
        uint32_t need = words_for(i + 1);
        if (need > capacity) {
            uint32_t grown = need > capacity * 2 ? need : capacity * 2;
            data = static_cast<uint32_t*>(saferealloc(data, size_t{grown} * 4));
            capacity = grown;
        }
        bv_resize(i + 1);
    }
    data[i >> 5] |= 1u << (i & 31);
}

void BITVEC::bv_diff(const BITVEC& a, const BITVEC& b) {
    if (this != &a) *this = a;
    for (uint32_t w = 0; w < words && w < b.words; w++) data[w] &= ~b.data[w];
}

bool BITVEC::bv_union(const BITVEC& b) {
    if (b.size > size) bv_resize(b.size);
    uint32_t added = 0;
    for (uint32_t w = 0; w < b.words; w++) {
        added |= b.data[w] & ~data[w];
        data[w] |= b.data[w];
    }
    return added != 0;
}

bool BITVEC::bv_intersect(const BITVEC& b) {
    uint32_t lost = 0;
    for (uint32_t w = 0; w < words; w++) {
        uint32_t keep = w < b.words ? b.data[w] : 0;
        lost |= data[w] & ~keep;
        data[w] &= keep;
    }
    return lost != 0;
}

void BITVEC::bv_copy_seg(const BITVEC& from, uint32_t start, uint32_t count) {
    for (uint32_t i = start; i < start + count && i < from.size; i++) {
        if (from.bv_test(i))
            bv_add(i);
        else
            bv_remove(i);
    }
}

uint32_t BITVEC::bv_count() const {
    uint32_t n = 0;
    for (uint32_t w = 0; w < words; w++) n += static_cast<uint32_t>(std::popcount(data[w]));
    return n;
}

bool BITVEC::bv_empty() const {
    for (uint32_t w = 0; w < words; w++)
        if (data[w] != 0) return false;
    return true;
}

bool BITVEC::operator==(const BITVEC& b) const {
    return size == b.size && memcmp(data, b.data, size_t{words} * 4) == 0;
}

void BITVEC::bv_print(FILE* out) const {
    const char* separator = "{";
    for (uint32_t i = 0; i < size; i++)
        if (bv_test(i)) {
            fprintf(out, "%s%u", separator, i);
            separator = " ";
        }
    fputs(*separator == '{' ? "{}" : "}", out);
}

void BITVEC::bv_dump(FILE* out) const {
    fprintf(out, "%u bits, %u words of %u: ", size, words, capacity);
    bv_print(out);
    fputc('\n', out);
}
