// nxcount FILE: prints the number of tree nodes of an icode file, bodies and initialisers together.
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <cstdio>
#include <vector>

namespace {

struct COUNTER final : IF_CLIENT {
    unsigned long nodes = 0;

    // Counts and erases a tree. The walk keeps its own stack: lists of arguments are as deep as they are long.
    void take(NODE* tree) {
        std::vector<const NODE*> rest{tree};
        while (!rest.empty()) {
            const NODE* n = rest.back();
            rest.pop_back();
            if (n == nullptr) continue;
            nodes++;
            rest.push_back(n->left);
            rest.push_back(n->right);
        }
    }
    SYMTAB* cl_symbol_create(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln, uint32_t offset,
                             uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t, uint32_t option_set) override {
        auto* sym = new SYMTAB(name, size, offset, sclass, scqual, type, type, aln, psn, static_cast<int>(option_set));
        sym->type2 = type2;
        return sym;
    }
    void cl_expr(NODE* tree, PSN*) override {
        take(tree);
        erase_tree(tree);
    }
    void cl_symbol_init(SYMTAB*, EXPR_LIST* list) override {
        for (EXPR_CELL* cell = list->head; cell != nullptr; cell = cell->next) take(cell->node);
    }
};

} // namespace

int main(int argc, char** argv) {
    FILE* stream = argc == 2 ? fopen(argv[1], "rb") : nullptr;
    if (stream == nullptr) {
        fprintf(stderr, "usage: nxcount FILE\n");
        return 1;
    }
    tp = tp_alloc();
    tp->init_type_pkg();
    init_types();
    COUNTER counter;
    I_FILE* file = if_open(stream, &counter);
    if (file == nullptr) {
        fprintf(stderr, "nxcount: %s: not an icode file\n", argv[1]);
        return 1;
    }
    file->if_type_init(tp);
    file->if_read_file();
    file->if_discard();
    printf("%lu nodes\n", counter.nodes);
    return 0;
}
