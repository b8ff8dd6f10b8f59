// The small function with the target's 64-bit types, and constructors of constants and conversions.
#ifndef UNIT_SIMP_FIXTURE_H
#define UNIT_SIMP_FIXTURE_H

#include "../ir/small_function.h"
#include "simp/simp.h"

#include <cstdlib>

class Simplify : public SmallFunction {
  protected:
    void SetUp() override {
        SmallFunction::SetUp();
        for (TYPE::IKIND kind : {TYPE::I_LLONG, TYPE::I_ULLONG}) tp->adopt_basic_type(tp->mk_int(kind, false, 64, 64));
        tp->adopt_basic_type(tp->mk_int(TYPE::I_BOOL, false, 16, 16));
        for (TYPE::FKIND kind : {TYPE::F_DOUBLE, TYPE::F_LDOUBLE}) tp->adopt_basic_type(tp->mk_fltpt(kind, 64, 64));
        tp->basic_types_changed();
        begin_body();
        char_type = tp->char_type()->normalized();
        uint_type = tp->uint_type()->normalized();
        double_type = tp->double_type()->normalized();
        integers = {char_type, tp->uchar_type()->normalized(), int_type,
                    uint_type, tp->llong_type()->normalized(), tp->ullong_type()->normalized()};
    }

    void TearDown() override {
        for (FUNINFO* record : all_FUNINFOs()) {
            free(record->name);
            delete record;
        }
        init_FUNINFO_table();
        SmallFunction::TearDown();
    }

    NODE* constant(INT65 value, TYPE* type) { return mk_ICON(value, type); }
    NODE* fcon(const char* text, TYPE* type) {
        NODE* node = new_node(FCON, type);
        node->mk_fcon(text);
        return node;
    }
    static TYPE* volatile_of(TYPE* type) { return tp->mk_qual(type, QUAL_VOLATILE); }
    static NODE* deref(NODE* pointer) { return mk_UMULT(pointer, pointer->type->type_pointed_to()); }
    NODE* field(TYPE* csu, size_t member) {
        fkMDATA* m = csu->csu->members[member].get();
        NODE* node = new_node(FIELD, m->type);
        node->mk_field(1, m, csu);
        return node;
    }
    NODE* arrow(NODE* pointer, size_t member) {
        TYPE* csu = pointer->type->type_pointed_to()->get_csu();
        NODE* selector = field(csu, member);
        return maketree(STREF, pointer, selector, selector->type->normalized());
    }

    // The tree after simplification, as text; erases it.
    std::string simplified(NODE* tree) { return gone(simp_tree(tree)); }
    static std::string gone(NODE* tree) {
        std::string s = tree != nullptr ? show(tree) : "";
        erase_tree(tree);
        return s;
    }
    // Operators by name with the type's size, so that an access of another width shows.
    static std::string show(const NODE* n) {
        switch (n->op) {
        case NAME:
            return n->u.sym->name + std::string(n->type->is_volatile() && !n->u.sym->type->is_volatile() ? "!" : "");
        case ICON: return int65_to_text(n->u.lval);
        case FCON: return const_cast<NODE*>(n)->fcon_value();
        case SCON: return '"' + std::string(n->text) + '"';
        case FIELD: return n->mval->name;
        default: break;
        }
        std::string s = opname(n->op);
        s.erase(0, s.find_first_not_of(' '));
        s.erase(s.find_last_not_of(' ') + 1);
        if (n->op == UMULT || n->op == SCONV || n->op == STDOT) s += std::to_string(n->type->size());
        if (n->op == UMULT && n->type->is_volatile()) s += "!";
        s += "(";
        if (n->left != nullptr) s += show(n->left);
        if (n->right != nullptr) s += " " + show(n->right);
        return s + ")";
    }

    TYPE *char_type = nullptr, *uint_type = nullptr, *double_type = nullptr;
    std::vector<TYPE*> integers; // char, unsigned char, int, unsigned, long long, unsigned long long
};

#endif
