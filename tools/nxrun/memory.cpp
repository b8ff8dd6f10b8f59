// The program's address space: see memory.h.
#include "memory.h"

#include <algorithm>
#include <sys/mman.h>

namespace {

void* reserve(size_t bytes) {
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (p == MAP_FAILED) throw BAD_FILE{"not enough memory for the program's address space"};
    return p;
}

} // namespace

MEMORY::MEMORY() {
    units = static_cast<uint16_t*>(reserve((size_t{limit} + slack) * sizeof(uint16_t)));
    state = static_cast<uint8_t*>(reserve(size_t{limit} + slack));
}

MEMORY::~MEMORY() {
    munmap(units, (size_t{limit} + slack) * sizeof(uint16_t));
    munmap(state, size_t{limit} + slack);
}

ADDRESS MEMORY::new_static(uint64_t size, uint32_t align_units, const std::string& name) {
    align_units = std::clamp<uint32_t>(align_units, 2, 1024);
    uint64_t at = (uint64_t{next_static_} + align_units - 1) / align_units * align_units;
    // Room for the stack and some heap must stay.
    if (at + size + gap > limit / 2)
        throw BAD_FILE{"object '" + name + "' of " + std::to_string(size) + " units does not fit into memory"};
    next_static_ = ADDRESS(at + size + gap);
    statics_.push_back({ADDRESS(at), uint32_t(size), name});
    set_state(ADDRESS(at), uint32_t(size), UNIT_WRITABLE);
    return ADDRESS(at);
}

void MEMORY::begin_run() {
    stack_begin_ = (next_static_ + 0xFFF) & ~ADDRESS{0xFFF};
    next_heap_ = stack_begin_ + stack_units + 0x1000;
}

// Blocks are powers of two and three quarters of one, so that a freed block fits the next request of about its size.
uint32_t MEMORY::size_class(uint64_t size, uint32_t& rounded) const {
    uint32_t cls = 0;
    for (uint64_t step = 8; cls < size_classes; step *= 2) {
        if (size <= step) {
            rounded = uint32_t(step);
            return cls;
        }
        ++cls;
        if (size <= step + step / 2) {
            rounded = uint32_t(step + step / 2);
            return cls;
        }
        ++cls;
    }
    return size_classes;
}

ADDRESS MEMORY::alloc(uint64_t size) {
    if (size >= limit) return 0;
    uint32_t rounded = 0;
    uint32_t cls = size_class(size, rounded);
    if (cls >= size_classes) return 0;
    FREE_LIST& list = free_[cls];
    ADDRESS block = 0;
    if (list.blocks.size() - list.head > keep_freed) {
        block = list.blocks[list.head++];
        if (list.head > 4096 && list.head * 2 > list.blocks.size()) {
            list.blocks.erase(list.blocks.begin(), list.blocks.begin() + static_cast<std::ptrdiff_t>(list.head));
            list.head = 0;
        }
    } else {
        if (uint64_t{next_heap_} + rounded + 2 * gap >= limit) {
            if (list.head == list.blocks.size()) return 0;
            block = list.blocks[list.head++];
        } else {
            block = next_heap_ + gap; // the size stands in the gap
            next_heap_ = block + rounded;
        }
    }
    uint32_t size32 = uint32_t(size);
    memcpy(units + block - 4, &size32, sizeof size32);
    state[block - 1] = UNIT_HEAP_MARK;
    set_state(block, size32, UNIT_WRITABLE);
    return block;
}

uint32_t MEMORY::block_size(ADDRESS block) {
    if (block >= limit || block < gap || state[block - 1] != UNIT_HEAP_MARK)
        trap(text_of("address 0x%x is no block of the heap", block));
    uint32_t size;
    memcpy(&size, units + block - 4, sizeof size);
    return size;
}

void MEMORY::release(ADDRESS block) {
    if (block == 0) return;
    if (block >= limit || block < gap || state[block - 1] != UNIT_HEAP_MARK)
        trap(text_of("free of 0x%x, which is no live block of the heap", block));
    uint32_t size = block_size(block);
    uint32_t rounded = 0;
    set_state(block - 1, size + 1, UNIT_FREE);
    free_[size_class(size, rounded)].blocks.push_back(block);
}

void MEMORY::check_read(ADDRESS at, uint32_t n) {
    if (n == 0) return;
    if (uint64_t{at} + n > limit) bad_read(at, n);
    for (uint32_t i = 0; i < n; ++i)
        if ((state[at + i] & UNIT_WRITTEN) == 0) bad_read(at + i, 1);
}

void MEMORY::check_write(ADDRESS at, uint32_t n) {
    if (n == 0) return;
    if (uint64_t{at} + n > limit) bad_write(at, n);
    for (uint32_t i = 0; i < n; ++i)
        if ((state[at + i] & UNIT_WRITABLE) == 0) bad_write(at + i, 1);
}

uint64_t MEMORY::read_n(ADDRESS at, uint32_t n) {
    check_read(at, n);
    uint64_t v = 0;
    memcpy(&v, units + at, size_t{n} * 2);
    return v;
}

void MEMORY::write_n(ADDRESS at, uint64_t v, uint32_t n) {
    check_write(at, n);
    memcpy(units + at, &v, size_t{n} * 2);
    set_state(at, n, UNIT_VALUE);
}

uint32_t MEMORY::text_length(ADDRESS at) {
    uint32_t n = 0;
    while (read16(at + n) != 0) ++n;
    return n;
}

std::string MEMORY::read_text(ADDRESS at) {
    std::string text;
    for (;; ++at) {
        uint16_t c = read16(at);
        if (c == 0) return text;
        text += char(c);
    }
}

void MEMORY::copy(ADDRESS to, ADDRESS from, uint64_t n) {
    if (n == 0) return;
    if (n > limit || uint64_t{from} + n > limit) bad_read(from, 1);
    if (uint64_t{to} + n > limit) bad_write(to, 1);
    for (uint64_t i = 0; i < n; ++i) {
        if ((state[from + i] & UNIT_VALUE) == 0) bad_read(ADDRESS(from + i), 1);
        if ((state[to + i] & UNIT_WRITABLE) == 0) bad_write(ADDRESS(to + i), 1);
    }
    memmove(units + to, units + from, n * 2);
    // What was not written at the source is not written at the target either.
    memmove(state + to, state + from, n);
    for (uint64_t i = 0; i < n; ++i) state[to + i] |= UNIT_WRITABLE;
}

std::string MEMORY::place(ADDRESS at) {
    if (at < null_zone) return at == 0 ? "null pointer" : text_of("null pointer plus %u", at);
    if (at >= function_base) return text_of("address 0x%x, which is a function's", at);
    if (at >= limit) return text_of("address 0x%x, outside memory", at);
    if (at >= stack_begin_ && at < stack_begin_ + stack_units) return text_of("address 0x%x of the stack", at);
    if (at >= stack_begin_) return text_of("address 0x%x of the heap", at);
    const OBJECT* o = static_before(at);
    if (o == nullptr) return text_of("address 0x%x", at);
    if (at < o->at + o->size) return text_of("unit %u of '%s'", at - o->at, o->name.c_str());
    return text_of("%u units behind '%s'", at - o->at - o->size, o->name.c_str());
}

const MEMORY::OBJECT* MEMORY::static_before(ADDRESS at) {
    if (at >= stack_begin_) return nullptr;
    auto it =
        std::upper_bound(statics_.begin(), statics_.end(), at, [](ADDRESS a, const OBJECT& o) { return a < o.at; });
    return it == statics_.begin() ? nullptr : &*--it;
}

bool MEMORY::is_undefined_object(ADDRESS at) {
    const OBJECT* o = static_before(at);
    return o != nullptr && at < o->at + o->size && state[at] == UNIT_FREE;
}

void MEMORY::bad_read(ADDRESS at, uint32_t n) {
    if (at < null_zone) trap("read through " + place(at));
    while (n > 1 && at < limit && (state[at] & UNIT_WRITTEN) != 0) ++at, --n;
    if (at < limit && (state[at] & UNIT_VALUE) == UNIT_WRITABLE) trap("read of an undefined value, " + place(at));
    if (is_undefined_object(at)) trap("access to an object that is declared only, " + place(at));
    trap("read out of object, " + place(at));
}

void MEMORY::bad_write(ADDRESS at, uint32_t n) {
    if (at < null_zone) trap("write through " + place(at));
    while (n > 1 && at < limit && (state[at] & UNIT_WRITABLE) != 0) ++at, --n;
    if (at < limit && (state[at] & UNIT_VALUE) == UNIT_WRITTEN) trap("write to a constant object, " + place(at));
    if (is_undefined_object(at)) trap("access to an object that is declared only, " + place(at));
    trap("write out of object, " + place(at));
}
