#include "ir/psn.h"

#include "ir/pool.h"

#include <string>
#include <unordered_set>

namespace {
SLAB_POOL psn_pool(sizeof(PSN), offsetof(PSN, file));
}

void* PSN::operator new(size_t size) { return NX_POOLS ? psn_pool.alloc() : ::operator new(size); }
void PSN::operator delete(void* p) { NX_POOLS ? psn_pool.free(p) : ::operator delete(p); }

const char* shared_text(const char* text) {
    static std::unordered_set<std::string> texts;
    return texts.emplace(text).first->c_str();
}
