// MEMORY: the program's address space, an array of 16-bit units with a state for each unit.
//
// An address is a unit number; 0 is the null pointer. Values of several units stand with their low-order unit at the
// lowest address. Each unit is out of use, in use but not yet written, or written; an access to anything but a live
// object, and a read of a unit that nobody wrote, is a fault. Objects have unused units between them, so that an access
// a little beside an object is found; an access that lands inside another live object is not.
//
// Both arrays are reserved as a whole and filled by the operating system on first use, so that a small program costs
// little.
#ifndef NXRUN_MEMORY_H
#define NXRUN_MEMORY_H

#include "fault.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using ADDRESS = uint32_t;

// State of a unit. Bits, so that the states of several units can be tested in one operation.
enum UNIT_STATE : uint8_t {
    UNIT_FREE = 0,     // no object
    UNIT_WRITTEN = 1,  // bit: holds a value
    UNIT_WRITABLE = 2, // bit: part of an object that may be written
    UNIT_VALUE = 3,    // both
    UNIT_HEAP_MARK = 4 // the unit in front of a live heap block; not accessible
};

class MEMORY {
  public:
    static constexpr ADDRESS null_zone = 0x1000;       // an access below this is reported as one through null
    static constexpr ADDRESS limit = ADDRESS{1} << 28; // addresses at and above are never accessible
    static constexpr ADDRESS stack_units = ADDRESS{1} << 24;
    static constexpr ADDRESS function_base = 0xF0000000; // addresses of functions, function_step apart
    static constexpr ADDRESS function_step = 4;
    static constexpr uint32_t gap = 16; // unused units between objects, at least

    MEMORY();
    ~MEMORY();
    MEMORY(const MEMORY&) = delete;
    MEMORY& operator=(const MEMORY&) = delete;

    uint16_t* units; // [limit + slack]
    uint8_t* state;  // [limit + slack], UNIT_STATE

    // Static storage: a new object of `size` units, in use, not written; throws BAD_FILE when there is no room.
    ADDRESS new_static(uint64_t size, uint32_t align_units, const std::string& name);
    // Sets the state of the units [at, at + n). The caller owns them.
    void set_state(ADDRESS at, uint32_t n, UNIT_STATE s) { memset(state + at, s, n); }
    // Ends the static part: stack and heap begin behind it.
    void begin_run();
    ADDRESS stack_begin() const { return stack_begin_; }
    ADDRESS stack_end() const { return stack_begin_ + stack_units; }

    // Heap. alloc returns 0 when there is no room. release and resize trap on an address that is no live block.
    ADDRESS alloc(uint64_t size);
    void release(ADDRESS block);
    uint32_t block_size(ADDRESS block); // units

    // Checked access, for library functions. Each traps on a bad address or a value that was never written.
    void check_read(ADDRESS at, uint32_t n);
    void check_write(ADDRESS at, uint32_t n);
    uint16_t read16(ADDRESS at) {
        if (at >= limit || (state[at] & UNIT_WRITTEN) == 0) bad_read(at, 1);
        return units[at];
    }
    uint32_t read32(ADDRESS at) { return uint32_t(read_n(at, 2)); }
    uint64_t read64(ADDRESS at) { return read_n(at, 4); }
    void write16(ADDRESS at, uint16_t v) {
        if (at >= limit || (state[at] & UNIT_WRITABLE) == 0) bad_write(at, 1);
        units[at] = v;
        state[at] = UNIT_VALUE;
    }
    void write_n(ADDRESS at, uint64_t v, uint32_t n);
    std::string read_text(ADDRESS at); // up to the terminating 0; a character keeps its low 8 bits
    uint32_t text_length(ADDRESS at);  // characters in front of the terminating 0
    // Copies n units with their states, as if through a buffer.
    void copy(ADDRESS to, ADDRESS from, uint64_t n);

    // Report the first faulty unit of an access.
    [[noreturn]] void bad_read(ADDRESS at, uint32_t n);
    [[noreturn]] void bad_write(ADDRESS at, uint32_t n);
    // Where an address lies, in words: "3 units behind 'tab'".
    std::string place(ADDRESS at);
    // True for an address inside a static object that is not in use: the file only declares it.
    bool is_undefined_object(ADDRESS at);

  private:
    struct OBJECT {
        ADDRESS at;
        uint32_t size;
        std::string name;
    };
    uint64_t read_n(ADDRESS at, uint32_t n);
    static constexpr uint32_t slack = 64;
    static constexpr uint32_t size_classes = 48;
    static constexpr size_t keep_freed =
        64; // freed blocks of a size class that stay out of use, so that late uses trap

    uint32_t size_class(uint64_t size, uint32_t& rounded) const;

    const OBJECT* static_before(ADDRESS at); // the last static object that begins at or before `at`, or null

    std::vector<OBJECT> statics_; // ascending addresses
    ADDRESS next_static_ = null_zone;
    ADDRESS stack_begin_ = 0;
    ADDRESS next_heap_ = 0;
    struct FREE_LIST {
        std::vector<ADDRESS> blocks; // first in, first out from `head`
        size_t head = 0;
    };
    FREE_LIST free_[size_classes];
};

#endif
