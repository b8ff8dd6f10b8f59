// Slab pools for the small records of the intermediate form (nodes, statement cells, edges, positions).
//
// A pool hands out cells of one type from slabs that live to the end of the run. A freed cell goes back to the pool's
// free list and is handed out again only after every cell freed before it (first in, first out), so that the mark a
// record leaves in a freed cell stays readable for a while and a second free is noticed. Under the address sanitizer
// cells come from the allocator one by one.
#ifndef IR_POOL_H
#define IR_POOL_H

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define NX_POOLS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define NX_POOLS 0
#endif
#endif
#ifndef NX_POOLS
#define NX_POOLS 1
#endif

class SLAB_POOL {
  public:
    // Cells of `size` bytes. `link_at`: byte offset inside a freed cell where the pool keeps its free-list pointer;
    // the rest of a freed cell is left as the record's destructor left it.
    constexpr SLAB_POOL(size_t size, size_t link_at) : size_(size), link_at_(link_at) {}
    SLAB_POOL(const SLAB_POOL&) = delete;
    SLAB_POOL& operator=(const SLAB_POOL&) = delete;

    void* alloc() {
        if (free_head_ != nullptr && free_count_ > keep_freed) return take_freed();
        if (cursor_ == end_) new_slab();
        void* cell = cursor_;
        cursor_ += size_;
        return cell;
    }
    void free(void* cell);

  private:
    static constexpr size_t keep_freed = 1024; // freed cells that keep their mark
    static constexpr size_t slab_bytes = 1 << 18;

    void* take_freed();
    void new_slab();
    void*& link(void* cell) const { return *reinterpret_cast<void**>(static_cast<char*>(cell) + link_at_); }

    size_t size_, link_at_;
    char* cursor_ = nullptr;
    char* end_ = nullptr;
    void* free_head_ = nullptr;
    void* free_tail_ = nullptr;
    size_t free_count_ = 0;
};

#endif
