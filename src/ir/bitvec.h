// BITVEC: a bit vector. Bit n is bit n & 31 of word n >> 5.
#ifndef IR_BITVEC_H
#define IR_BITVEC_H

#include <cstdint>
#include <cstdio>

// The owner mark of a vector's array. A null zone means that the vector owns its array, frees and reallocates it.
struct MZONE;

enum BV_TINIT { BV_CLEAR, BV_SET, BV_LEAVE };

struct BITVEC {
    uint32_t size = 0;     // bits
    uint32_t words = 0;    // in use
    uint32_t capacity = 0; // words
    MZONE* zone = nullptr;
    uint32_t* data = nullptr;

    explicit BITVEC(uint32_t bits = 0, BV_TINIT init = BV_CLEAR) { bv_init(bits, nullptr, init); }
    BITVEC(const BITVEC& from) { *this = from; }
    BITVEC& operator=(const BITVEC&);
    ~BITVEC();

    void bv_init(uint32_t bits, MZONE* owner, BV_TINIT init);
    void bv_resize(uint32_t bits); // new bits are clear
    void bv_add(uint32_t i);       // an index at or above the size grows the vector
    void bv_remove(uint32_t i) {
        if (i < size) data[i >> 5] &= ~(1u << (i & 31));
    }
    bool bv_test(uint32_t i) const { return i < size && (data[i >> 5] >> (i & 31) & 1) != 0; }
    void bv_diff(const BITVEC& a, const BITVEC& b);                       // this = a without b
    bool bv_union(const BITVEC& b);                                       // this |= b; whether a bit was added
    bool bv_intersect(const BITVEC& b);                                   // this &= b; whether a bit was lost
    void bv_copy_seg(const BITVEC& from, uint32_t start, uint32_t count); // bits start.. of `from`, to the same places
    uint32_t bv_count() const;
    bool bv_empty() const;
    bool operator==(const BITVEC& b) const;
    void bv_print(FILE*) const; // members as a list in braces
    void bv_dump(FILE*) const;  // size, words, then the members
};

#endif
