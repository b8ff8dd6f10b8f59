#include "ir/pool.h"

#include "driver/safealloc.h"

void SLAB_POOL::new_slab() {
    size_t cells = slab_bytes / size_ < 16 ? 16 : slab_bytes / size_;
    cursor_ = static_cast<char*>(safemalloc(cells * size_));
    end_ = cursor_ + cells * size_;
}

void* SLAB_POOL::take_freed() {
    void* cell = free_head_;
    free_head_ = link(cell);
    if (free_head_ == nullptr) free_tail_ = nullptr;
    free_count_--;
    return cell;
}

void SLAB_POOL::free(void* cell) {
    link(cell) = nullptr;
    if (free_tail_ != nullptr)
        link(free_tail_) = cell;
    else
        free_head_ = cell;
    free_tail_ = cell;
    free_count_++;
}
