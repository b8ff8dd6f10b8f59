// Reading a file into a UNIT: see load.h.
#include "load.h"

#include "icode/if_check.h"

#include <cstring>
#include <sys/stat.h>

namespace {

struct LOADER final : IF_CLIENT {
    UNIT unit;
    I_FILE* file = nullptr;
    SOURCE_FUNCTION* current = nullptr;
    LABEL_CHECK labels;
    std::string name;

    [[noreturn]] void fail(const std::string& what) {
        throw BAD_FILE{name + ": " + what +
                       (file != nullptr ? " at offset " + std::to_string(file->record_start) : "")};
    }

    SYMTAB* cl_symbol_create(const char* sym_name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln,
                             uint32_t offset, uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t position,
                             uint32_t set) override {
        if (type == nullptr) fail(std::string("symbol '") + sym_name + "' without type");
        if (!type->is_func() && type->size() != size)
            fail(std::string("symbol '") + sym_name + "' has not its type's size");
        SYMTAB* sym = new SYMTAB(sym_name, size, offset, sclass, scqual, type, type, aln, psn, static_cast<int>(set));
        sym->type2 = type2;
        sym->file_position = position;
        if (file == nullptr || file->block_depth == 0) {
            sym->level = 0;
            unit.globals.push_back(sym);
        } else if (current == nullptr) {
            fail(std::string("local symbol '") + sym_name + "' outside a function");
        } else {
            sym->level = file->block_depth == 1 ? 1 : 2;
            (sym->level == 1 ? current->params : current->locals).push_back(sym);
        }
        return sym;
    }
    void cl_symbol_init(SYMTAB* sym, EXPR_LIST* list) override {
        for (const EXPR_CELL* cell = list->head; cell != nullptr; cell = cell->next)
            if (const char* fault = initialiser_fault(cell->node))
                fail(std::string("initialiser of '") + sym->name + "': " + fault);
        unit.initialisers.emplace_back(sym, list);
    }
    void cl_begin_func(SYMTAB* sym, PSN* psn) override {
        if (current != nullptr) fail("function inside a function");
        if (!sym->otype->is_func()) fail(std::string("body of '") + sym->name + "', which is no function");
        unit.functions.push_back({sym, {}, {}, {}, psn, nullptr});
        current = &unit.functions.back();
        labels.clear();
    }
    void cl_end_func(PSN* psn) override {
        if (current == nullptr) fail("end of a function outside one");
        if (const char* fault = labels.fault()) fail(in_function() + fault);
        current->end_psn = psn;
        current = nullptr;
    }
    STATEMENT& add(STATEMENT::WHAT what, const PSN* psn) {
        if (current == nullptr) fail("statement outside a function");
        current->statements.push_back({what, false, 0, nullptr, psn});
        return current->statements.back();
    }
    void cl_expr(NODE* tree, PSN* psn) override {
        add(STATEMENT::TREE, psn).tree = tree;
        if (const char* fault = statement_fault(tree)) fail(in_function() + fault);
        if (tree->op == LOOP) define(static_cast<uint32_t>(tree->right->label_id()));
        labels.note_references(tree);
    }
    void cl_label(uint32_t number) override {
        add(STATEMENT::LABEL_HERE, nullptr).label = number;
        define(number);
    }
    void define(uint32_t number) {
        if (!labels.define(number))
            fail(in_function() + "label " + std::to_string(number) + " is defined twice or not positive");
    }
    // Place of the last statement, for messages.
    std::string in_function() {
        std::string text = std::string("function '") + current->symbol->name + "'";
        const PSN* psn = current->statements.empty() ? nullptr : current->statements.back().psn;
        if (psn != nullptr && psn->file != nullptr)
            text += std::string(", ") + psn->file + ":" + std::to_string(psn->line) + ":" + std::to_string(psn->column);
        return text + ": ";
    }
    void cl_pragma(SYMTAB* sym, PRAGMA* pragma) override {
        if (sym != nullptr && pragma->kind == PRAGMA::PRAGMA_NORVEX_WEAK) unit.weak.insert(sym);
    }
    void cl_comment(const char* text) override {
        if (current == nullptr && strncmp(text, ";\t", 2) == 0) unit.optimized = true;
    }
    void cl_inline_asm(const char*, PSN* psn) override {
        if (current != nullptr) add(STATEMENT::ASSEMBLY, psn);
    }
};

} // namespace

UNIT load_unit(FILE* stream, const std::string& name) {
    LOADER loader;
    loader.name = name;
    loader.unit.files = {name};
    // Each file has types of its own, as it may define others under the same names.
    tp = tp_alloc();
    tp->init_type_pkg();
    init_types();
    I_FILE* file = if_open(stream, &loader);
    if (file == nullptr) throw BAD_FILE{name + ": not an icode file that this program reads"};
    loader.file = file;
    file->if_type_init(tp);
    try {
        file->if_read_file();
        if (loader.current != nullptr) loader.fail("function without end");
    } catch (...) {
        file->if_discard();
        throw;
    }
    file->if_discard();
    return std::move(loader.unit);
}

UNIT load_unit(const std::string& path) {
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr) throw BAD_FILE{path + ": cannot be opened"};
    return load_unit(stream, path);
}

bool is_icode_file(const std::string& path) {
    struct stat status; // reading from anything but a plain file would take something away
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr) return false;
    // The id and the length of the first record, and the mark that it begins with.
    constexpr char mark[] = "!<icode>\n";
    char begin[2 + sizeof mark] = {};
    bool is_icode = fread(begin, 1, sizeof begin, stream) == sizeof begin && memcmp(begin + 2, mark, sizeof mark) == 0;
    fclose(stream);
    return is_icode;
}
