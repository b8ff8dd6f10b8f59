#include "driver/dump.h"

#include "ir/bitvec.h"
#include "ir/funinfo.h"
#include "ir/infix.h"
#include "ir/pragma.h"
#include "ir/trace.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

constexpr int deepest_struct = 2;   // levels of structs in structs that are listed
constexpr int deepest_indent = 100; // blanks in front of a node, however deep it lies

const char* class_name(int sclass) {
    switch (sclass) {
    case SC_AUTO: return "auto";
    case SC_EXTERN_DEF: return "extern, defined";
    case SC_STATIC: return "static";
    case SC_REGISTER:
    case SC_REGISTER2: return "register";
    case SC_EXTERN_DECL: return "extern";
    case SC_OMITTED: return "omitted";
    case SC_PARM: return "parameter";
    case SC_PARM_REG: return "parameter in a register";
    case SC_PARM_VARARGS: return "variadic parameter";
    case SC_PROMOTED_STATIC:
    case SC_PROMOTED_EXTERN: return "promoted";
    default: return "other";
    }
}

std::string type_text(TYPE* type) { return type != nullptr ? type->print() : "<no type>"; }

// Leaves alone; what an inner node holds beside its operands is said by its opcode.
std::string contents_of(const NODE* node) {
    switch (node->op) {
    case NAME:
    case ICON:
    case FCON:
    case SCON:
    case FIELD:
    case LABEL:
    case LABELDEF: return tree2infix(node);
    default: return "";
    }
}

void print_node(const NODE* node, int indent) {
    const char* name = node_operator_name[node->op & 255];
    std::string contents = contents_of(node);
    dprintf("%*s%s", indent, "", name != nullptr ? name : opname(node->op));
    if (!contents.empty()) dprintf(" %s", contents.c_str());
    dprintf("  [%s]%s\n", type_text(node->type).c_str(), (node->flags & NODE_NO_WRAP) ? " no wrap" : "");
}

} // namespace

// With a list of its own in place of recursion: lists of commas and concatenations are long.
void prtree(const NODE* tree, int indent) {
    if (fdebug == nullptr) return;
    struct PLACE {
        const NODE* node;
        int indent;
    };
    std::vector<PLACE> waiting{{tree, indent}};
    while (!waiting.empty()) {
        PLACE at = waiting.back();
        waiting.pop_back();
        if (at.node == nullptr) {
            dprintf("%*s<none>\n", at.indent, "");
            continue;
        }
        print_node(at.node, at.indent);
        int below = std::min(at.indent + 2, deepest_indent);
        // The right operand of a CSE_DUPE belongs to another tree.
        if (at.node->right != nullptr && at.node->op != CSE_DUPE) waiting.push_back({at.node->right, below});
        if (at.node->left != nullptr) waiting.push_back({at.node->left, below});
    }
}

void prtree1(const NODE* tree) { dprintf("%s\n", tree2infix(tree).c_str()); }

void prlist(const LIST* list, int indent) {
    for (const LIST* cell = list; cell != nullptr; cell = cell->rest) prtree(cell->first, indent);
}

void prlist1(const LIST* list) {
    if (fdebug == nullptr) return;
    for (const LIST* cell = list; cell != nullptr; cell = cell->rest) {
        std::string text = stmt2infix(cell->first);
        if (cell->psn != nullptr)
            dprintf("    %-60s ; %u:%u\n", text.c_str(), cell->psn->line, cell->psn->column);
        else
            dprintf("    %s\n", text.c_str());
    }
}

void dump_symbol_list(const SYMTAB* list, FILE* to) {
    if (to == nullptr) return;
    for (const SYMTAB* sym = list; sym != nullptr; sym = sym->next) {
        fprintf(to, "    %-20s %-16s %s; %u bits", sym->name, class_name(sym->sclass), type_text(sym->otype).c_str(),
                sym->size);
        if (sym->is_parameter()) fprintf(to, " at %u", sym->offset);
        if (sym->aliased()) fputs(", aliased", to);
        if (sym->scqual & CQ_VOLATILE) fputs(", volatile", to);
        if (sym->scope != nullptr) fprintf(to, ", scope %u", sym->scope->number);
        fputc('\n', to);
    }
}

void dump_stack() {
    for (const trace* t = trace::innermost(); t != nullptr; t = t->outer()) dprintf("    in %s\n", t->text());
}

void dump_bitvec(const BITVEC* vector) {
    if (fdebug == nullptr) return;
    if (vector == nullptr)
        fputs("{none}", fdebug);
    else
        vector->bv_print(fdebug);
    fputc('\n', fdebug);
}

namespace {

void dump_members(TYPE* type, int indent, int32_t start, int level) {
    for (const auto& member : type->csu->members) {
        int32_t place = start + member->bit_offset;
        dprintf("%*s%5d: %s; %s, %u bits%s\n", indent, "", place, member->name.c_str(), type_text(member->type).c_str(),
                member->bit_size, member->is_bitfield ? ", bit-field" : "");
        TYPE* inner = member->type != nullptr ? member->type->get_csu() : nullptr;
        if (inner != nullptr && level < deepest_struct) dump_members(inner, indent + 2, place, level + 1);
    }
}

// The struct that the type leads to through arrays and pointers, or null.
TYPE* struct_behind(TYPE* type) {
    while (type != nullptr && (type->is_array() || type->is_ptr()))
        type = type->is_array() ? type->elem_type() : type->type_pointed_to();
    return type != nullptr ? type->get_csu() : nullptr;
}

// Each struct that the symbols lead to, once, in the order of the symbols.
void dump_structs_of(std::initializer_list<const SYMTAB*> lists) {
    std::unordered_set<const TYPE*> seen; // look-up only
    for (const SYMTAB* list : lists)
        for (const SYMTAB* sym = list; sym != nullptr; sym = sym->next) {
            TYPE* csu = struct_behind(sym->otype);
            if (csu == nullptr || !seen.insert(csu).second) continue;
            if (seen.size() == 1) dprintf("Structs:\n");
            dump_struct(csu, 4);
        }
}

} // namespace

void dump_struct(TYPE* type, int indent) {
    if (fdebug == nullptr) return;
    TYPE* csu = type != nullptr ? type->get_csu() : nullptr;
    if (csu == nullptr) return dprintf("%*s%s is no struct\n", indent, "", type_text(type).c_str());
    dprintf("%*s%s, %u bits, aligned to %u%s\n", indent, "", type_text(csu).c_str(), csu->size_bits, csu->align_bits,
            csu->is_complete() ? "" : ", incomplete");
    dump_members(csu, indent + 2, 0, 0);
}

void dump_struct_inits(const SYMTAB* global) {
    if (fdebug == nullptr || global->init == nullptr) return;
    dprintf("%s =\n", global->name);
    for (const EXPR_CELL* cell = global->init->head; cell != nullptr; cell = cell->next)
        dprintf("    %s\n", tree2infix(cell->node).c_str());
}

void dump_EHT(const EHT_ENTRY* table, uint32_t count) {
    static const char* const kinds[] = {"root", "cleanup", "catch", "end of cleanup", "end of catch", "terminate"};
    for (uint32_t i = 0; i < count && fdebug != nullptr; i++) {
        const EHT_ENTRY& entry = table[i];
        dprintf("    EH%u %s, next EH%u", entry.id, entry.kind <= EHK_TERMINATE ? kinds[entry.kind] : "unknown",
                entry.next);
        if (entry.cleanup != nullptr) dprintf(": %s", stmt2infix(entry.cleanup).c_str());
        dprintf("\n");
        for (const I_CATCH_ENTRY& one : entry.catches) dprintf("        %s to L%d\n", one.type_name.c_str(), one.label);
    }
}

void dump_bblist() {
    if (fdebug == nullptr || currfuninfo == nullptr) return;
    for (const BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        size_t statements = 0;
        for (const LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) statements++;
        dprintf("BB%d (block %u): %zu statements", bb->dfn, bb->serial, statements);
        if (bb->first_psn != nullptr) dprintf(", from line %u", bb->first_psn->line);
        if (bb->loop_depth != 0) dprintf(", loop depth %d", bb->loop_depth);
        dprintf("; preds");
        for (const EDGE* e = bb->preds; e != nullptr; e = e->next) dprintf(" BB%d", e->bb->dfn);
        dprintf("; succs");
        for (const EDGE* e = bb->succs; e != nullptr; e = e->next) {
            dprintf(" BB%d", e->bb->dfn);
            if (e->probability >= 0) dprintf(" (%.2f)", e->probability);
        }
        dprintf("\n");
    }
}

void dump_function_records() {
    if (fdebug == nullptr || currfunc == nullptr || currfuninfo == nullptr) return;
    static const char* const flag_names[] = {
#define FUN_FLAG_ENTRY(bit, name) #name,
#include "ir/funflags.def"
    };
    static const uint32_t flag_bits[] = {
#define FUN_FLAG_ENTRY(bit, name) name,
#include "ir/funflags.def"
    };
    const FUNINFO& f = *currfuninfo;
    dprintf("Type:    %s\n", type_text(currfunc->otype).c_str());
    dprintf("Flags:  ");
    for (size_t i = 0; i < sizeof flag_bits / sizeof flag_bits[0]; i++)
        if (f.flags & flag_bits[i]) dprintf(" %s", flag_names[i]);
    dprintf("\nSymbols, newest first:\n");
    for (const SYMTAB* list : {f.locals, f.temps, f.memory_locals, f.scalar_locals}) dump_symbol_list(list, fdebug);
    dump_structs_of({f.locals, f.temps, f.memory_locals, f.scalar_locals});
    dprintf("Scopes:\n");
    LS_print(f.scopes, fdebug);
    if (f.eht_size == 0) return;
    dprintf("Exception table:\n");
    dump_EHT(f.eht, f.eht_size);
}
