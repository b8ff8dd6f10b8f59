// The small pieces that every run pays for, timed one by one.
#include "icode/if.h"
#include "ir/node.h"
#include "ir/types.h"

#include <benchmark/benchmark.h>
#include <random>
#include <vector>

namespace {

// Values as files hold them: mostly small (type references, counts, line steps), a few large.
std::vector<uint32_t> file_like_values(size_t n) {
    std::mt19937 random(1);
    std::vector<uint32_t> values(n);
    for (uint32_t& v : values) v = static_cast<uint32_t>(random()) >> (random() % 4 == 0 ? 8 : 24);
    return values;
}

void write_uint(benchmark::State& state) {
    std::vector<uint32_t> values = file_like_values(4096);
    I_FILE file;
    for (auto _ : state) {
        file.buffer.clear();
        for (uint32_t v : values) file.i_write_uint(v);
        benchmark::DoNotOptimize(file.buffer.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}
BENCHMARK(write_uint);

void write_sint(benchmark::State& state) {
    std::vector<uint32_t> values = file_like_values(4096);
    I_FILE file;
    for (auto _ : state) {
        file.buffer.clear();
        for (uint32_t v : values) file.i_write_sint(static_cast<int32_t>(v) - 128);
        benchmark::DoNotOptimize(file.buffer.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}
BENCHMARK(write_sint);

void read_uint(benchmark::State& state) {
    std::vector<uint32_t> values = file_like_values(4096);
    I_FILE file;
    for (uint32_t v : values) file.i_write_uint(v);
    file.input = file.buffer;
    for (auto _ : state) {
        file.cursor = 0;
        uint32_t sum = 0;
        for (size_t i = 0; i < values.size(); i++) sum += file.i_read_uint();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}
BENCHMARK(read_uint);

// A balanced expression of 2^depth leaves.
NODE* expression(int depth, TYPE* type) {
    if (depth == 0) {
        NODE* leaf = new_node(ICON, type);
        leaf->mk_icon(7);
        return leaf;
    }
    return maketree(depth % 2 == 0 ? PLUS : MULT, expression(depth - 1, type), expression(depth - 1, type), type);
}

TYPE* int_type() {
    static TYPE* const type = [] {
        if (tp == nullptr) {
            tp = tp_alloc();
            tp->init_type_pkg();
            init_types();
        }
        return tp->int_type();
    }();
    return type;
}

constexpr int depth = 10, nodes = (2 << depth) - 1;

void make_and_erase_nodes(benchmark::State& state) {
    TYPE* type = int_type();
    for (auto _ : state) erase_tree(expression(depth, type));
    state.SetItemsProcessed(state.iterations() * nodes);
}
BENCHMARK(make_and_erase_nodes);

void copy_and_erase_nodes(benchmark::State& state) {
    NODE* tree = expression(depth, int_type());
    for (auto _ : state) erase_tree(copy_tree(tree));
    state.SetItemsProcessed(state.iterations() * nodes);
    erase_tree(tree);
}
BENCHMARK(copy_and_erase_nodes);

} // namespace
