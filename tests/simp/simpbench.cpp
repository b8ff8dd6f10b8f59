// simpbench: the cost of simp_tree by the size and shape of the tree.
//
//     simpbench [--most NODES] [--shape NAME] [--check]
//
// Prints nanoseconds of processor time a node for trees of 100 nodes up to --most (default 1,000,000), and how many
// nodes the largest one had left. Small trees are repeated. --check: exit status 1 if a shape costs more
// a node at its largest size than five times what it costs at 1,000 nodes and what memory costs beyond the caches.
#include "world.h"

#include "ir/opt_expr.h"
#include "simp/rules.h"
#include "simp/simp.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

TYPE* int_type() { return world.type_of[K_W]; }
NODE* constant(int v) { return mk_ICON(INT65(v), int_type()); }

NODE* some_leaf(RANDOM& random) {
    if (random.percent(10)) return constant(2 + random.below(1000));
    return name_of(world.of_kind[K_W][static_cast<size_t>(random.below(4))]);
}

NODE* marked(NODE* n) {
    if (n->op == PLUS || n->op == MINUS || n->op == MULT || n->op == UMINUS) n->flags |= NODE_NO_WRAP;
    return n;
}
NODE* binary(int op, NODE* a, NODE* b) { return marked(maketree(op, a, b, int_type())); }
NODE* unary(int op, NODE* a) { return marked(maketree(op, a, nullptr, int_type())); }

int some_operator(RANDOM& random) {
    static const int ops[] = {PLUS, PLUS, MINUS, MULT, ANDB, ORB, XORB, SLL, SRL, EQ, LT, ANDAND, OROR, DIV};
    return ops[random.below(14)];
}

// Joins random pairs of neighbours until one tree is left: depth about the logarithm of the size.
NODE* mixed(RANDOM& random, int nodes) {
    std::vector<NODE*> parts;
    for (int i = 0; i < nodes / 2 + 1; i++) parts.push_back(some_leaf(random));
    while (parts.size() > 1) {
        std::vector<NODE*> joined;
        for (size_t i = 0; i + 1 < parts.size(); i += 2) {
            int op = some_operator(random);
            bool by_constant = op == SLL || op == SRL || op == DIV;
            NODE* right = parts[i + 1];
            if (by_constant) {
                erase_tree(right);
                right = constant(1 + random.below(15));
            }
            joined.push_back(binary(op, parts[i], right));
        }
        if (parts.size() % 2 != 0) joined.push_back(parts.back());
        parts = std::move(joined);
    }
    return parts[0];
}

NODE* left_chain(RANDOM& random, int nodes, int op) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i += 2) tree = binary(op, tree, some_leaf(random));
    return tree;
}
NODE* right_chain(RANDOM& random, int nodes, int op) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i += 2) tree = binary(op, some_leaf(random), tree);
    return tree;
}
NODE* mixed_left_chain(RANDOM& random, int nodes) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i += 2) {
        int op = some_operator(random);
        tree =
            binary(op, tree, op == SLL || op == SRL || op == DIV ? constant(1 + random.below(15)) : some_leaf(random));
    }
    return tree;
}
NODE* unaries(RANDOM& random, int nodes) {
    static const int ops[] = {UMINUS, NOTB, EXCLAIM, UMINUS, NOTB};
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i++) tree = unary(ops[random.below(5)], tree);
    return tree;
}
NODE* conversions(RANDOM& random, int nodes) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i++) tree = mk_SCONV(tree, world.type_of[K_H + random.below(6)]);
    return mk_SCONV(tree, int_type());
}
NODE* choice(NODE* cond, NODE* a, NODE* b) {
    return maketree(QUEST, cond, maketree(COLON, a, b, int_type()), int_type());
}
NODE* ternaries(RANDOM& random, int nodes, int place) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i += 4) {
        NODE* a = some_leaf(random);
        NODE* b = some_leaf(random);
        tree = place == 0 ? choice(tree, a, b) : place == 1 ? choice(a, tree, b) : choice(a, b, tree);
    }
    return tree;
}
NODE* commas(RANDOM& random, int nodes) {
    NODE* tree = some_leaf(random);
    for (int i = 1; i < nodes; i += 4) {
        NODE* effect = maketree(ASG, name_of(world.of_kind[K_W][4]), some_leaf(random), int_type());
        tree = maketree(COMMAOP, effect, tree, int_type());
    }
    return tree;
}

struct SHAPE {
    const char* name;
    NODE* (*make)(RANDOM&, int nodes);
};
const SHAPE shapes[] = {
    {"mixed", mixed},
    {"left chain +", [](RANDOM& r, int n) { return left_chain(r, n, PLUS); }},
    {"left chain -", [](RANDOM& r, int n) { return left_chain(r, n, MINUS); }},
    {"left chain *", [](RANDOM& r, int n) { return left_chain(r, n, MULT); }},
    {"left chain &", [](RANDOM& r, int n) { return left_chain(r, n, ANDB); }},
    {"left chain |", [](RANDOM& r, int n) { return left_chain(r, n, ORB); }},
    {"left chain ^", [](RANDOM& r, int n) { return left_chain(r, n, XORB); }},
    {"left chain &&", [](RANDOM& r, int n) { return left_chain(r, n, ANDAND); }},
    {"left chain <", [](RANDOM& r, int n) { return left_chain(r, n, LT); }},
    {"left chain, mixed", mixed_left_chain},
    {"right chain +", [](RANDOM& r, int n) { return right_chain(r, n, PLUS); }},
    {"right chain -", [](RANDOM& r, int n) { return right_chain(r, n, MINUS); }},
    {"right chain *", [](RANDOM& r, int n) { return right_chain(r, n, MULT); }},
    {"right chain &", [](RANDOM& r, int n) { return right_chain(r, n, ANDB); }},
    {"right chain |", [](RANDOM& r, int n) { return right_chain(r, n, ORB); }},
    {"right chain ^", [](RANDOM& r, int n) { return right_chain(r, n, XORB); }},
    {"right chain ||", [](RANDOM& r, int n) { return right_chain(r, n, OROR); }},
    {"nested unary", unaries},
    {"nested conversions", conversions},
    {"?: in the condition", [](RANDOM& r, int n) { return ternaries(r, n, 0); }},
    {"?: in the first arm", [](RANDOM& r, int n) { return ternaries(r, n, 1); }},
    {"?: in the second arm", [](RANDOM& r, int n) { return ternaries(r, n, 2); }},
    {"comma chain", commas},
};

constexpr double cache_cost = 300; // nanoseconds a node that no longer stands in a cache, at most

double cpu_seconds() {
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// Nanoseconds a node, over 100,000 nodes at least.
double cost(const SHAPE& shape, int nodes, int& left) {
    RANDOM random(static_cast<uint64_t>(nodes));
    double seconds = 0;
    int64_t total = 0;
    do {
        NODE* tree = shape.make(random, nodes);
        total += count_nodes_in_tree(tree);
        double start = cpu_seconds();
        tree = simp_tree(tree);
        seconds += cpu_seconds() - start;
        left = count_nodes_in_tree(tree);
        erase_tree(tree);
    } while (total < 100000);
    return seconds * 1e9 / static_cast<double>(total);
}

} // namespace

int main(int argc, char** argv) {
    int most = 1000000;
    const char* only = nullptr;
    bool check = false;
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--check") == 0)
            check = true;
        else if (strcmp(argv[i], "--most") == 0 && i + 1 < argc)
            most = atoi(argv[++i]);
        else if (strcmp(argv[i], "--shape") == 0 && i + 1 < argc)
            only = argv[++i];
        else {
            fprintf(stderr, "usage: simpbench [--most NODES] [--shape NAME] [--check]\n");
            return 2;
        }
    }
    make_world();
    printf("%-22s", "ns a node at");
    for (int n = 100; n <= most; n *= 10) printf("%10d", n);
    printf("   nodes left\n");
    bool linear = true;
    for (const SHAPE& shape : shapes) {
        if (only != nullptr && strcmp(only, shape.name) != 0) continue;
        printf("%-22s", shape.name);
        double at_1000 = 0, last = 0;
        int left = 0;
        for (int n = 100; n <= most; n *= 10) {
            last = cost(shape, n, left);
            if (n == 1000) at_1000 = last;
            printf("%10.0f", last);
            fflush(stdout);
        }
        bool good = at_1000 == 0 || last < 5 * at_1000 + cache_cost;
        printf("%13d%s\n", left, good ? "" : "  NOT LINEAR");
        linear &= good;
    }
    if (simp_allowance_exceeded != 0)
        printf("%llu calls stopped at their allowance\n", static_cast<unsigned long long>(simp_allowance_exceeded));
    return check && !linear ? 1 : 0;
}
