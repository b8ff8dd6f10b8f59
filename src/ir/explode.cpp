// Split local structs into scalars.
//
//     struct s { int a, b; } x;    x.a = 1;  f(x.a + x.b)        ->        a = 1;  f(a + b)
//     x = *p                                                     ->        a = p->a;  b = p->b
//
// Why:    no later pass keeps a member of a struct in a register.
// Needs:  statements in blocks.       Keeps: blocks, edges.       Breaks: nothing but what knows the struct's symbol.
// Skips:  structs that are named as a whole or by address, hold something volatile, or stand in the exception table; a
//         struct of which a bit-field or two overlapping parts are used.
// Method: candidates are the local structs; one walk over the statements collects the members used and disqualifies a
//         candidate that is named in any other way; a second walk rewrites. A member that is a struct itself is a
//         variable after one round and is looked at in the next.
// Scratch: the first link of SYMTAB, from entry to exit.
// Cost:   two walks over the nodes a round.
#include "ir/explode.h"

#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/tree_slots.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

constexpr size_t max_assignment_members = 4; // a struct assignment becomes at most so many plain ones
constexpr int max_rounds = 8;                // nesting of structs that is taken apart
constexpr int max_type_nesting = 64;         // a deeper aggregate is taken to hold something volatile
constexpr const char* exploded_prefix = "$O$CSU$";

// ------------------------------------------------------------------------------------------------ types

class VOLATILE_PARTS {
  public:
    bool in(TYPE* type) { return find(type, 0); }

  private:
    bool find(TYPE* type, int nesting) {
        if (type->is_volatile() || nesting > max_type_nesting) return true;
        if (type->is_array()) return find(type->elem_type(), nesting + 1);
        if (!type->is_csu()) return false;
        auto known = known_.find(type->descriptor);
        if (known != known_.end()) return known->second;
        bool found = false;
        for (const auto& member : type->descriptor->csu->members)
            if (!found && find(member->type, nesting + 1)) found = true;
        known_[type->descriptor] = found;
        return found;
    }

    std::unordered_map<TYPE*, bool> known_;
};

// The type of a value of the member: normalized, without qualifiers; an enum by its underlying type.
TYPE* member_value_type(const fkMDATA* member) {
    TYPE* type = member->type;
    if (type->is_enum()) return normalized_underlying_type(type);
    return type->is_array() ? type->normalized() : type->type_qualified()->normalized();
}

// ------------------------------------------------------------------------------------------------ struct assignments

// Whether an address expression gives the same value before and after any store to a struct: constants and scalar
// locals to which no pointer exists.
bool address_is_stable(const NODE* address, const std::function<bool(const SYMTAB*)>& address_is_taken) {
    bool stable = true;
    walk_tree_top_down(const_cast<NODE*>(address), [&](NODE* node) {
        switch (node->op) {
        case NAME:
            if (node->u.sym == nullptr || node->u.sym->level == 0 || !node->u.sym->type->is_scalar() ||
                node->type->is_volatile() || address_is_taken(node->u.sym))
                stable = false;
            return false;
        case UAND: {
            const NODE* object = node->left;
            while (object->op == STDOT) object = object->left;
            if (object->op != NAME) stable = false;
            return false;
        }
        case ICON:
        case SCON:
        case PLUS:
        case MINUS:
        case MULT:
        case SLL:
        case PCONV:
        case SCONV:
        case PMCONV: return true;
        default: stable = false; return false;
        }
    });
    return stable;
}

bool is_stable_place(const NODE* lvalue, const std::function<bool(const SYMTAB*)>& address_is_taken) {
    while (lvalue->op == STDOT) lvalue = lvalue->left;
    if (lvalue->op == NAME) return true;
    return (lvalue->op == UMULT || lvalue->op == STREF) && address_is_stable(lvalue->left, address_is_taken);
}

NODE* member_access(const NODE* object, fkMDATA* member, TYPE* csu, LS* scope) {
    TYPE* type = member_value_type(member);
    NODE* field = new_node(FIELD, member->type);
    field->mk_field(1, member, csu);
    field->scope = scope;
    return maketree(STDOT, copy_tree(object), field, type, scope);
}

} // namespace

bool csu_type_has_only_simple_scalar_members(TYPE* type, size_t limit) {
    TYPE* csu = type->get_csu();
    if (csu == nullptr || csu->is_union() || !csu->csu->base_classes.empty()) return false;
    const auto& members = csu->csu->members;
    if (members.empty() || members.size() > limit) return false;
    int64_t end = 0;
    for (const auto& member : members) {
        TYPE* t = member->type;
        if (member->is_bitfield || !t->is_scalar() || t->is_ref() || t->is_volatile()) return false;
        if (member->bit_offset < end) return false;
        end = member->bit_offset + static_cast<int64_t>(t->size());
    }
    return end <= csu->size();
}

std::vector<NODE*> convert_STASG_to_asgs(const NODE* stasg,
                                         const std::function<bool(const SYMTAB*)>& address_is_taken) {
    std::vector<NODE*> asgs;
    const NODE *target = stasg->left, *source = stasg->right;
    TYPE* csu = target->type->get_csu();
    if (csu == nullptr || csu != source->type->get_csu()) return asgs;
    if (!csu_type_has_only_simple_scalar_members(csu, max_assignment_members)) return asgs;
    if (tree_has_side_effects(target) || tree_has_side_effects(source)) return asgs;
    if (!is_stable_place(target, address_is_taken) || !is_stable_place(source, address_is_taken)) return asgs;
    for (const auto& member : csu->csu->members) {
        NODE* to = member_access(target, member.get(), csu, stasg->scope);
        NODE* asg = mk_ASG(to, member_access(source, member.get(), csu, stasg->scope));
        asg->scope = stasg->scope;
        asgs.push_back(asg);
    }
    return asgs;
}

namespace {

// ------------------------------------------------------------------------------------------------ candidates

// A part of a candidate that the function uses; it becomes a variable.
struct PART {
    const fkMDATA* member;
    SYMTAB* variable = nullptr;
};

struct CANDIDATE {
    SYMTAB* symbol;
    bool alive = true;
    std::vector<PART> parts; // no two of the same place and width
};

CANDIDATE* candidate_of(const SYMTAB* sym) {
    CANDIDATE* c = sym != nullptr ? static_cast<CANDIDATE*>(sym->link[0]) : nullptr;
    return c != nullptr && c->alive ? c : nullptr;
}
CANDIDATE* candidate_named(const NODE* node) { return node->op == NAME ? candidate_of(node->u.sym) : nullptr; }

PART* find_part(CANDIDATE* c, const fkMDATA* member) {
    for (PART& part : c->parts)
        if (part.member->bit_offset == member->bit_offset && part.member->bit_size == member->bit_size) return &part;
    return nullptr;
}

// The candidate of which the STDOT names a whole member as what it is; null if there is none. The object is the
// candidate's NAME, or *&NAME with a conversion between pointers to the one type.
CANDIDATE* accepted_reference(const NODE* access) {
    const NODE* object = access->left;
    const fkMDATA* member = access->right != nullptr && access->right->op == FIELD ? access->right->mval : nullptr;
    if (member == nullptr || member->is_bitfield) return nullptr;
    if (object->op == UMULT) {
        const NODE* address = object->left;
        while (address->op == PCONV) address = address->left;
        if (address->op != UAND) return nullptr;
        object = address->left;
    }
    CANDIDATE* c = candidate_named(object);
    if (c == nullptr || access->right->u.csu == nullptr) return nullptr;
    TYPE* csu = access->right->u.csu;
    if (!compatible_types(csu->type_qualified(), c->symbol->type->type_qualified(), false)) return nullptr;
    if (access->type->is_volatile() || member->bit_offset < 0 || member->bit_size != member->type->size())
        return nullptr;
    if (!compatible_types(access->type->type_qualified(), member_value_type(member), false)) return nullptr;
    return c;
}

// One round over the current function.
class EXPLOSION {
  public:
    explicit EXPLOSION(FUNINFO* f) : f_(f) {}
    ~EXPLOSION() {
        for (auto& c : candidates_) c->symbol->link[0] = nullptr;
    }

    // Finds what can be split; true if there is something.
    bool analyse() {
        sym_split(f_);
        find_candidates();
        if (candidates_.empty()) return false;
        find_addresses();
        walk_prolog();
        for_each_statement(f_, [&](LIST* cell) {
            if (cell != prolog_) walk_statement(cell->first);
        });
        for (auto& c : candidates_)
            if (c->alive && !parts_are_disjoint(*c)) c->alive = false;
        return std::any_of(candidates_.begin(), candidates_.end(), [](auto& c) { return c->alive; });
    }

    std::vector<SYMTAB*> found() const {
        std::vector<SYMTAB*> symbols;
        for (auto& c : candidates_)
            if (c->alive) symbols.push_back(c->symbol);
        return symbols;
    }

    // Splits them; true if a new variable is a struct again.
    bool apply() {
        copy_parameters();
        bool nested = false;
        for (auto& c : candidates_) {
            if (!c->alive) continue;
            for (PART& part : c->parts) {
                make_variable(*c, part);
                if (part.variable->type->is_csu()) nested = true;
            }
        }
        sym_split(f_);
        for_each_statement(f_, [&](LIST* cell) { rewrite(cell); });
        remove_structs();
        return nested;
    }

  private:
    void find_candidates() {
        VOLATILE_PARTS volatile_parts;
        for (SYMTAB* sym = f_->memory_locals; sym != nullptr; sym = sym->next) {
            if (sym->sclass != SC_AUTO || sym->level != 2 || sym->link[0] != nullptr) continue;
            TYPE* csu = sym->type->get_csu();
            if (csu == nullptr || csu->is_union() || csu->csu->is_struct_vector || !csu->csu->base_classes.empty())
                continue;
            if (volatile_parts.in(sym->type) || sym_appears_in_EHT(sym)) continue;
            candidates_.push_back(std::make_unique<CANDIDATE>());
            candidates_.back()->symbol = sym;
            sym->link[0] = candidates_.back().get();
        }
    }

    void find_addresses() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_tree_top_down(cell->first, [&](NODE* node) {
                if (node->op != UAND && node->op != ARGREF) return true;
                const NODE* object = node->left;
                while (object->op == STDOT) object = object->left;
                if (object->op == NAME) address_taken_.insert(object->u.sym);
                return true;
            });
        });
    }

    bool address_is_taken(const SYMTAB* sym) const { return address_taken_.contains(sym); }
    std::vector<NODE*> convert(const NODE* stasg) const {
        return convert_STASG_to_asgs(stasg, [this](const SYMTAB* sym) { return address_is_taken(sym); });
    }

    static void disqualify(const NODE* name) {
        if (CANDIDATE* c = candidate_named(name)) c->alive = false;
    }

    // The prolog stays as it is but for the symbols that it fills: a candidate among them is filled from a copy.
    void walk_prolog() {
        BBLK* first = f_->bb_list;
        if (first == nullptr || first->stmts == nullptr || !tree_is_arg_prolog(first->stmts->first)) return;
        prolog_ = first->stmts;
        for (NODE* stmt : prolog_parts(prolog_->first)) {
            CANDIDATE* c = candidate_named(stmt->left);
            if (c == nullptr) continue;
            if (stmt->op != STASG ||
                !csu_type_has_only_simple_scalar_members(c->symbol->type, max_assignment_members)) {
                c->alive = false;
                continue;
            }
            for (const auto& member : c->symbol->type->get_csu()->csu->members) c->parts.push_back(PART{member.get()});
        }
    }

    static std::vector<NODE*> prolog_parts(NODE* prolog) {
        std::vector<NODE*> parts;
        for (; prolog->op == PCOMMA; prolog = prolog->left) parts.push_back(prolog->right);
        parts.push_back(prolog);
        std::reverse(parts.begin(), parts.end());
        return parts;
    }

    static bool names_candidate(const NODE* stasg) {
        return candidate_named(stasg->left) != nullptr || candidate_named(stasg->right) != nullptr;
    }

    void walk_statement(NODE* stmt) {
        if (stmt->op == STASG && names_candidate(stmt)) {
            std::vector<NODE*> asgs = convert(stmt);
            for (NODE* asg : asgs) {
                walk(asg);
                erase_tree(asg);
            }
            if (!asgs.empty()) return;
        }
        walk(stmt);
    }

    // `under_address` holds for the lvalue below a UAND: a member named there is not read or written but pointed to.
    void walk(NODE* root) {
        struct ITEM {
            NODE* node;
            bool under_address;
        };
        std::vector<ITEM> stack{{root, false}};
        while (!stack.empty()) {
            auto [node, under_address] = stack.back();
            stack.pop_back();
            bool left_under = false, right_under = false;
            switch (node->op) {
            case NAME: disqualify(node); continue;
            case STDOT:
                if (!under_address) {
                    if (CANDIDATE* c = accepted_reference(node)) {
                        if (find_part(c, node->right->mval) == nullptr) c->parts.push_back(PART{node->right->mval});
                        continue;
                    }
                }
                left_under = under_address;
                break;
            case UAND:
            case ARGREF: left_under = true; break;
            case COMMAOP: right_under = under_address; break;
            case IF:
            case SWITCH: stack.push_back({node->left, false}); continue;
            default: break; // UMULT and STREF among them: what they go through is a pointer value
            }
            if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back({node->right, right_under});
            if (node->left != nullptr) stack.push_back({node->left, left_under});
        }
    }

    static bool parts_are_disjoint(const CANDIDATE& c) {
        std::vector<std::pair<int64_t, int64_t>> ranges;
        for (const PART& part : c.parts)
            ranges.emplace_back(part.member->bit_offset, part.member->bit_offset + int64_t{part.member->bit_size});
        std::sort(ranges.begin(), ranges.end());
        for (size_t i = 1; i < ranges.size(); i++)
            if (ranges[i].first < ranges[i - 1].second) return false;
        return true;
    }

    //     x = parameter        ->        copy = parameter;  x = copy
    // The prolog must stay an assignment of parameters to variables of their names.
    void copy_parameters() {
        if (prolog_ == nullptr) return;
        LIST* at = prolog_;
        for (NODE* stmt : prolog_parts(prolog_->first)) {
            CANDIDATE* c = candidate_named(stmt->left);
            if (c == nullptr) continue;
            SYMTAB* copy = copy_symbol(c->symbol, 0);
            copy->type = tp->mk_qual(copy->type, QUAL_CONST);
            copy->otype = tp->mk_qual(copy->otype, QUAL_CONST);
            copy->index = f_->local_index++;
            copy->next = f_->temps;
            f_->temps = copy;
            LS_add_symbol(c->symbol->scope, copy);
            if (f_->arg_tree != nullptr) f_->arg_tree = subst_sym_for_sym_in_tree(c->symbol, copy, f_->arg_tree);
            stmt->left->u.sym = copy;
            stmt->u.sym = copy;
            NODE* source = mk_NAME(copy, stmt->scope);
            source->type = stmt->left->type;
            NODE* target = mk_NAME(c->symbol, stmt->scope);
            at = at->rest = new LIST(mk_ASG(target, source), prolog_->psn, at->rest);
        }
    }

    // The name tells the struct and the member; of a struct that came from another, the part before it is dropped.
    static std::string variable_name(const SYMTAB* csu, const fkMDATA* member) {
        std::string name = csu->name, prefix = exploded_prefix;
        name = name.starts_with(prefix) ? name.substr(prefix.size()) : skip_name_prefix(name.c_str());
        return prefix + name + "$" + member->name;
    }

    void make_variable(const CANDIDATE& c, PART& part) {
        TYPE* declared = part.member->type;
        if (!declared->is_array()) declared = declared->type_qualified();
        std::string name = variable_name(c.symbol, part.member);
        TYPE* type = member_value_type(part.member);
        SYMTAB* sym = new SYMTAB(name.c_str(), declared->size(), 0, SC_AUTO, 0, type, declared, declared->align(),
                                 c.symbol->psn, static_cast<int>(c.symbol->option_set));
        sym->flags &= static_cast<uint8_t>(~SYM_ALIASED);
        sym->index = f_->local_index++;
        sym->depth = sym->level = 2;
        sym->next = f_->temps;
        f_->temps = sym;
        if (sym->type->is_ptr())
            LS_add_symbol(c.symbol->scope, sym);
        else
            sym->scope = c.symbol->scope;
        part.variable = sym;
        report(c, part);
    }

    void report(const CANDIDATE& c, const PART& part) const {
        std::string place = std::string(c.symbol->name) + "." + part.member->name;
        if (print_debug) dprintf("Exploding %s\tinto %s.\n", place.c_str(), part.variable->name);
        if (write_opt_info && finfo != nullptr)
            fprintf(finfo, "Replacing %s with the simple variable '%s' in %s.\n", place.c_str(), part.variable->name,
                    f_->name);
    }

    void rewrite(LIST* cell) {
        if (cell->first->op == STASG && names_candidate(cell->first)) {
            std::vector<NODE*> asgs = convert(cell->first);
            OPTASSERT(!asgs.empty());
            erase_tree(cell->first);
            cell->first = asgs[0];
            LIST* rest = cell->rest;
            for (size_t i = asgs.size(); i-- > 1;) rest = new LIST(asgs[i], cell->psn, rest);
            cell->rest = rest; // rewritten as the walk over the statements goes on
        }
        walk_slots(cell->first, [&](NODE*& node) {
            if (node->op == STASG && node->left->op == STDOT) // a struct member that becomes a variable
                if (CANDIDATE* c = accepted_reference(node->left))
                    node->u.sym = find_part(c, node->left->right->mval)->variable;
            if (node->op != STDOT) return true;
            CANDIDATE* c = accepted_reference(node);
            if (c == nullptr) return true;
            SYMTAB* variable = find_part(c, node->right->mval)->variable;
            NODE* name = mk_NAME(variable, node->scope);
            name->type = node->type->type_qualified();
            name->orig_type = node->orig_type;
            erase_tree(node);
            node = name;
            return false;
        });
    }

    void remove_structs() {
        for (SYMTAB** link = &f_->memory_locals; *link != nullptr;) {
            SYMTAB* sym = *link;
            if (candidate_of(sym) == nullptr) {
                link = &sym->next;
                continue;
            }
            *link = sym->next;
            sym->next = nullptr;
            delete_stack_sharing_variable(sym);
            LS_remove_symbol(sym);
        }
    }

    FUNINFO* f_;
    LIST* prolog_ = nullptr; // the statement, null if the function has none
    std::vector<std::unique_ptr<CANDIDATE>> candidates_;
    std::unordered_set<const SYMTAB*> address_taken_;
};

} // namespace

std::vector<SYMTAB*> splittable_struct_vars() {
    EXPLOSION look(currfuninfo);
    return look.analyse() ? look.found() : std::vector<SYMTAB*>();
}

void explode_auto_struct_vars() {
    if (opt_level() < 2 || currfuninfo == nullptr || currfuninfo->bb_list == nullptr) return;
    if (print_debug) dprintf("\n\n\t\t\t-------- ENTERING 'explode_auto_struct_vars' -------\n");
    for (int round = 0; round < max_rounds; round++) {
        EXPLOSION explosion(currfuninfo);
        if (!explosion.analyse() || !explosion.apply()) return;
    }
}
