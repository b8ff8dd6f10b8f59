// A fixture for tests that build a small function in memory: the type package with the front end's sizes, a current
// function "f" with its scope tree, and short constructors for symbols, trees and blocks.
#ifndef UNIT_IR_SMALL_FUNCTION_H
#define UNIT_IR_SMALL_FUNCTION_H

#include "icode/if.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/tree_slots.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

class SmallFunction : public ::testing::Test {
  protected:
    void SetUp() override {
        if_node_table_init();
        init_opcode_tables();
        tp_alloc()->init_type_pkg();
        tp->adopt_basic_type(tp->mk_ptr(tp->void_type, 32, 32));
        tp->basic_types_changed();
        init_symbols();
        option_queries.opt_level = [] { return 2; };
        int_type = tp->int_type();
        TYPE* type = tp->mk_func(int_type, false, false, true, 0);
        tp->type_frozen(type);
        currfunc = make_symbol("_f", type, nullptr, 0, 0, 0, SC_EXTERN_DEF, 0, nullptr, 0, 0, 0);
        currfuninfo = &f;
        f.symbol = currfunc;
        f.name = const_cast<char*>("f");
        LS_open(&f);
        LS_open(&f);
    }

    void TearDown() override {
        for (BBLK* bb : f.blocks) erase_tree_list(bb->stmts);
        LS_erase(f.scopes);
        init_stack_sharing();
        currfunc = nullptr;
        currfuninfo = nullptr;
        option_queries.opt_level = nullptr;
        init_symbols();
        tp_release();
    }

    // The body begins: parameters were made at level 1 before.
    void begin_body() {
        begin_stack_sharing_scope(2);
        LS_open(&f);
    }
    void open_block() {
        begin_stack_sharing_scope(++level);
        LS_open(&f);
    }
    void close_block() {
        end_stack_sharing_scope();
        LS_close(&f, nullptr);
        level--;
    }

    SYMTAB* symbol(const char* name, TYPE* type, uint8_t sclass = SC_AUTO, int at_level = -1) {
        return make_symbol(name, type, nullptr, type->size(), type->align(), 0, sclass, 0, nullptr, 0, 0,
                           at_level >= 0 ? at_level : level);
    }
    SYMTAB* global(const char* name, TYPE* type, uint8_t sclass = SC_STATIC) { return symbol(name, type, sclass, 0); }
    SYMTAB* local_static(const char* name, TYPE* type) {
        SYMTAB* sym = global(name, type);
        sym->pragmas = new PRAGMA(PRAGMA::PRAGMA_SCOPING_FUNC, {"_f"});
        return sym;
    }

    struct MEMBER {
        const char* name;
        TYPE* type;
        int bits = 0; // width of a bit-field
    };
    TYPE* structure(const char* name, const std::vector<MEMBER>& members) {
        uint32_t offset = 0, align = 16;
        for (const MEMBER& m : members) {
            offset = (offset + m.type->align() - 1) / m.type->align() * m.type->align() + m.type->size();
            align = std::max(align, m.type->align());
        }
        TYPE* type = tp->mk_struct(name, (offset + align - 1) / align * align, align, false, 0, true, false, false);
        offset = 0;
        for (const MEMBER& m : members) {
            offset = (offset + m.type->align() - 1) / m.type->align() * m.type->align();
            uint32_t width = m.bits != 0 ? static_cast<uint32_t>(m.bits) : m.type->size();
            tp->add_member(type, std::make_unique<fkMDATA>(m.name, m.type, offset, width, m.bits != 0));
            offset += m.type->size();
        }
        return tp->type_frozen(type);
    }

    NODE* name(SYMTAB* sym) { return mk_NAME(sym); }
    NODE* icon(int value) { return mk_ICON(INT65(value), int_type); }
    NODE* dot(NODE* object, size_t member) {
        TYPE* csu = object->type->get_csu();
        fkMDATA* m = csu->csu->members[member].get();
        NODE* field = new_node(FIELD, m->type);
        field->mk_field(1, m, csu);
        return maketree(STDOT, object, field, m->type);
    }
    NODE* address(NODE* lvalue) { return mk_UAND(lvalue, tp->mk_ptr(lvalue->type)); }
    NODE* plus(NODE* a, NODE* b) { return maketree(PLUS, a, b, int_type); }
    NODE* asg(NODE* to, NODE* from) { return mk_ASG(to, from); }
    NODE* call() { return maketree(UCALL, address(name(currfunc)), nullptr, int_type); }
    NODE* give_back(NODE* value) { return maketree(RETURN, name(currfunc), value, int_type); }

    // Appends a block; edges are given by number.
    BBLK* block(const std::vector<NODE*>& stmts, const std::vector<size_t>& preds = {}) {
        BBLK* bb = new BBLK(static_cast<uint32_t>(f.blocks.size()), &f);
        LIST** end = &bb->stmts;
        for (NODE* stmt : stmts) {
            *end = mkelist(stmt, nullptr, nullptr);
            end = &(*end)->rest;
        }
        if (f.bb_list == nullptr)
            f.bb_list = bb;
        else
            f.blocks.back()->dflink = bb;
        f.blocks.push_back(bb);
        for (size_t p : preds) bb->preds = new EDGE(nullptr, -1.0, bb->preds), pending.emplace_back(bb->preds, p);
        return bb;
    }
    void bind_edges() {
        for (auto [edge, number] : pending) edge->bb = f.blocks[number];
    }

    // The text of a tree, enough of it to compare: names, constants, operators.
    static std::string text(const NODE* n) {
        switch (n->op) {
        case NAME: return n->u.sym->name;
        case ICON: return int65_to_text(n->u.lval);
        case FIELD: return n->mval->name;
        case STDOT: return text(n->left) + "." + text(n->right);
        case UMULT: return "*" + text(n->left);
        case UAND: return "&" + text(n->left);
        case UCALL: return text(n->left) + "()";
        case RETURN: return "return " + text(n->right);
        default: {
            const char* op = opcode_is_ASG(n->op) ? "=" : n->op == PLUS ? "+" : node_operator_name[n->op];
            return (n->left != nullptr ? text(n->left) : "") + " " + op + " " +
                   (n->right != nullptr ? text(n->right) : "");
        }
        }
    }
    std::vector<std::string> body() const {
        std::vector<std::string> lines;
        for_each_statement(&f, [&](LIST* cell) { lines.push_back(text(cell->first)); });
        return lines;
    }
    static std::vector<std::string> names_of(const SYMTAB* chain) {
        std::vector<std::string> names;
        for (; chain != nullptr; chain = chain->next) names.push_back(chain->name);
        return names;
    }
    static bool in_chain(const SYMTAB* chain, const std::string& wanted) {
        for (; chain != nullptr; chain = chain->next)
            if (wanted == chain->name) return true;
        return false;
    }
    bool is_local(const std::string& wanted) const {
        return in_chain(f.locals, wanted) || in_chain(f.temps, wanted) || in_chain(f.scalar_locals, wanted) ||
               in_chain(f.memory_locals, wanted);
    }

    FUNINFO f;
    TYPE* int_type = nullptr;
    int level = 2;
    std::vector<std::pair<EDGE*, size_t>> pending;
};

using LINES = std::vector<std::string>;

#endif
