// libFuzzer target: any bytes into the record reader.
//
// The client takes every record and erases what it is given, so that the reader's own checks stand alone. Whatever the
// bytes are, reading must come to an end: with the whole file read, or with an orderly error, which arrives here as
// run_ended. Anything else (a signal, a finding of a sanitizer, another exception) is a fault.
#include "driver/safealloc.h"
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

// Makes symbols, because the reader numbers them, and drops everything else.
struct TAKER final : IF_CLIENT {
    std::vector<std::unique_ptr<SYMTAB>> symbols;

    SYMTAB* cl_symbol_create(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln, uint32_t offset,
                             uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t, uint32_t option_set) override {
        // A symbol whose size is not its type's is refused by the layer above; here its size is made to fit.
        if (type == nullptr) end_run(1);
        if (!type->is_func()) size = type->size();
        symbols.push_back(std::make_unique<SYMTAB>(name, size, offset, sclass, scqual, type, type, aln, psn,
                                                   static_cast<int>(option_set)));
        symbols.back()->type2 = type2;
        return symbols.back().get();
    }
    void cl_pragma(SYMTAB*, PRAGMA* pragma) override { erase_pragma_list(pragma); }
    void cl_symbol_init(SYMTAB*, EXPR_LIST* list) override { delete list; }
    void cl_expr(NODE* tree, PSN*) override { erase_tree(tree); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    FILE* stream = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (stream == nullptr) return 0;
    TAKER taker;
    I_FILE* file = nullptr;
    try {
        tp = tp_alloc();
        tp->init_type_pkg();
        init_types();
        file = if_open(stream, &taker);
        if (file != nullptr) {
            file->if_type_init(tp);
            file->if_read_file();
        }
    } catch (const run_ended&) {}
    if (file != nullptr) file->if_discard();
    tp_release();
    return 0;
}
