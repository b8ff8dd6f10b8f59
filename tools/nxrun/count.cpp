// Counters of what a run executes: see count.h.
#include "count.h"

namespace {

struct COUNTER_INFO {
    const char* key;
    uint32_t weight;
    bool in_total;
};
const COUNTER_INFO counter_info[COUNTERS] = {
#define COUNT(key, weight, total) {#key, weight, total != 0},
#include "count.def"
};

} // namespace

void COUNTS::add(const BLOCK_COUNT& block, uint64_t times) {
    for (int k = 0; k < COUNTERS; ++k) n[k] += times * block.n[k];
    nodes += times * block.nodes;
}

uint64_t COUNTS::total() const {
    uint64_t sum = 0;
    for (int k = 0; k < COUNTERS; ++k)
        if (counter_info[k].in_total) sum += n[k];
    return sum;
}

uint64_t COUNTS::cost() const {
    uint64_t sum = 0;
    for (int k = 0; k < COUNTERS; ++k) sum += counter_info[k].weight * n[k];
    return sum;
}

std::string COUNTS::json() const {
    std::string text = "{\n";
    auto line = [&](const char* key, uint64_t value, const char* end) {
        text += std::string("  \"") + key + "\": " + std::to_string(value) + end;
    };
    for (int k = 0; k < COUNTERS; ++k) line(counter_info[k].key, n[k], ",\n");
    line("total", total(), ",\n");
    line("cost", cost(), "\n");
    return text + "}\n";
}
