// Split local structs into scalars.
//
//     struct s { int a, b; } x;    x.a = 1;  f(x.a + x.b)        ->        a = 1;  f(a + b)
//     x = *p                                                     ->        a = p->a;  b = p->b
//
// Why:    no later pass keeps a member of a struct in a register.
// Needs:  statements in blocks.       Keeps: blocks, edges.       Breaks: nothing but what knows the struct's symbol.
// Skips:  structs that are named as a whole or by address, hold something volatile, or stand in the exception table; a
//         struct of which a bit-field or two overlapping parts are used; copies from where a member may hold nothing.
// Method: candidates are the local structs; one walk over the statements collects the members used and disqualifies a
//         candidate that is named in any other way; a second walk rewrites. A member that is a struct itself is a
//         variable after one round and is looked at in the next.
// Scratch: the first link of SYMTAB, from entry to exit.
// Cost:   two walks over the nodes a round.
#include "ir/explode.h"

#include "ir/assigned.h"
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
constexpr int max_look_ahead = 32;           // statements in which a read is looked for
constexpr int max_copy_chain = 3;            // copies through which that read may go
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
    bool read = false; // something needs its value; a part that is only stored to is not copied along with the struct
    SYMTAB* variable = nullptr;
};

struct CANDIDATE {
    SYMTAB* symbol;
    bool alive = true;
    bool copied = false;     // the struct is copied as a whole to somewhere
    std::vector<PART> parts; // no two of the same place and width
};

// A struct assignment that comes apart if a side of it is a candidate. The sides are null if they are not NAMEs of one.
struct COPY {
    LIST* cell;               // the statement; the prolog for a parameter, whose copy will stand behind it
    const NODE* source_place; // null for a parameter
    CANDIDATE* target;
    CANDIDATE* source;
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
            if (cell != prolog_) walk_statement(cell);
        });
        settle();
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
        for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink)
            for (LIST** link = &bb->stmts; *link != nullptr;)
                if (rewrite(*link)) link = &(*link)->rest;
        define_copied_variables();
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
            copies_.push_back(COPY{prolog_, nullptr, c, nullptr});
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

    void walk_statement(LIST* cell) {
        NODE* stmt = cell->first;
        if (stmt->op != STASG || !names_candidate(stmt)) return walk(stmt);
        std::vector<NODE*> asgs = convert(stmt);
        if (asgs.empty()) return walk(stmt);
        for (NODE* asg : asgs) erase_tree(asg);
        COPY copy{cell, stmt->right, candidate_named(stmt->left), candidate_named(stmt->right)};
        if (copy.target == nullptr) walk(stmt->left);
        if (copy.source == nullptr) walk(stmt->right);
        copies_.push_back(copy);
    }

    // `under_address` holds for the lvalue below a UAND: a member named there is not read or written but pointed to.
    // `stored` holds for the left side of an assignment: a member named there is not read.
    void walk(NODE* root) {
        struct ITEM {
            NODE* node;
            bool under_address, stored;
        };
        std::vector<ITEM> stack{{root, false, false}};
        while (!stack.empty()) {
            auto [node, under_address, stored] = stack.back();
            stack.pop_back();
            bool left_under = false, right_under = false, left_stored = false;
            switch (node->op) {
            case NAME: disqualify(node); continue;
            case STDOT:
                if (CANDIDATE* c = under_address ? nullptr : accepted_reference(node)) {
                    PART& part = part_for(c, node->right->mval);
                    if (!stored) part.read = true;
                    continue;
                }
                left_under = under_address;
                left_stored = stored;
                break;
            case ASG:
            case STASG:
            case ARASG: left_stored = true; break;
            case UAND:
            case ARGREF: left_under = true; break;
            case COMMAOP: right_under = under_address; break;
            case IF:
            case SWITCH: stack.push_back({node->left, false, false}); continue;
            default: break; // UMULT and STREF among them: what they go through is a pointer value
            }
            if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back({node->right, right_under, false});
            if (node->left != nullptr) stack.push_back({node->left, left_under, left_stored});
        }
    }

    static PART& part_for(CANDIDATE* c, const fkMDATA* member) {
        if (PART* part = find_part(c, member)) return *part;
        c->parts.push_back(PART{member});
        return c->parts.back();
    }

    // ---- copies of whole structs
    //
    // A copy may carry members that hold nothing yet, which is no fault as long as nobody looks at them; a plain
    // assignment of such a member would be one. So only members that are needed are assigned one by one, and each must
    // have a value: a variable that comes from a struct gets one at the function's entry (define_copied_variables), an
    // object of static storage has one, and of any other place it must be certain that the value is looked at anyway.

    static const std::vector<std::unique_ptr<fkMDATA>>& members_of(const CANDIDATE* c) {
        return c->symbol->type->get_csu()->csu->members;
    }
    static CANDIDATE* if_alive(CANDIDATE* c) { return c != nullptr && c->alive ? c : nullptr; }
    static bool is_needed(CANDIDATE* c, const fkMDATA* member) {
        const PART* part = find_part(c, member);
        return part != nullptr && part->read;
    }

    // Disqualifies until what is left fits together.
    void settle() {
        for (bool changed = true; changed;) {
            changed = false;
            for (auto& c : candidates_) {
                if (!c->alive || parts_are_disjoint(*c)) continue;
                c->alive = false;
                changed = true;
            }
            note_needs();
            for (const COPY& copy : copies_) {
                CANDIDATE* target = if_alive(copy.target);
                if (target == nullptr || needed_members_have_values(copy)) continue;
                target->alive = false;
                changed = true;
            }
        }
    }

    // What is needed of a copy is needed of its source.
    void note_needs() {
        for (bool changed = true; changed;) {
            changed = false;
            for (const COPY& copy : copies_) {
                CANDIDATE *target = if_alive(copy.target), *source = if_alive(copy.source);
                if (source == nullptr) continue;
                for (const auto& member : members_of(source)) {
                    if (is_needed(source, member.get())) continue;
                    if (target != nullptr && !is_needed(target, member.get())) continue;
                    part_for(source, member.get()).read = true;
                    changed = true;
                }
            }
        }
    }

    bool needed_members_have_values(const COPY& copy) {
        if (if_alive(copy.source) != nullptr && f_->bb_list->preds == nullptr) return true;
        if (copy.source_place != nullptr && is_static_place(copy.source_place)) return true;
        for (const auto& member : members_of(copy.target))
            if (is_needed(copy.target, member.get()) && !is_read_soon(copy, member.get())) return false;
        return true;
    }

    static bool is_static_place(const NODE* place) {
        while (place->op == STDOT) place = place->left;
        if (place->op == UMULT || place->op == STREF) {
            const NODE* pointer = place->left;
            while (pointer->op == PCONV || pointer->op == PLUS || pointer->op == MINUS) pointer = pointer->left;
            if (pointer->op != UAND) return false;
            place = pointer->left;
            while (place->op == STDOT) place = place->left;
        }
        return place->op == NAME && place->u.sym != nullptr && place->u.sym->level == 0;
    }

    static bool is_read_soon(const COPY& copy, const fkMDATA* member) {
        return is_read_behind(copy.cell, copy.target, member, max_look_ahead, max_copy_chain);
    }

    // Whether the statements behind the cell, in its block and up to the next call, read the member in any case,
    // directly or through another copy.
    static bool is_read_behind(const LIST* cell, const CANDIDATE* c, const fkMDATA* member, int look_ahead, int chain) {
        for (cell = cell->rest; cell != nullptr && look_ahead-- > 0; cell = cell->rest) {
            const NODE* stmt = cell->first;
            bool stops = false;
            if (statement_reads(cell->first, c, member, stops)) return true;
            if (chain > 0 && stmt->op == STASG && candidate_named(stmt->right) == c &&
                candidate_named(stmt->left) != nullptr &&
                is_read_behind(cell, candidate_named(stmt->left), member, look_ahead, chain - 1))
                return true;
            if (stops) return false;
        }
        return false;
    }

    static bool statement_reads(NODE* stmt, const CANDIDATE* c, const fkMDATA* member, bool& stops) {
        auto is_member = [&](const NODE* node) {
            return node->op == STDOT && accepted_reference(node) == c &&
                   node->right->mval->bit_offset == member->bit_offset;
        };
        bool found = false;
        auto walk_certain = [&](auto&& self, NODE* tree) -> void {
            walk_tree_top_down(tree, [&](NODE* node) {
                if (is_member(node)) found = true;
                switch (node->op) {
                case CALL:
                case UCALL:
                case MCALL:
                case UMCALL: stops = true; return true;
                case ANDAND:
                case OROR:
                case QUEST:
                case IF:
                case SWITCH: self(self, node->left); return false;
                case ASG:
                    self(self, node->right);
                    if (is_member(node->left))
                        stops = true;
                    else
                        self(self, node->left);
                    return false;
                default: return true;
                }
            });
        };
        walk_certain(walk_certain, stmt);
        if (stmt->op == STASG && stmt->left->op == NAME && candidate_named(stmt->left) == c) stops = true;
        return found;
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

    // The plain assignments for a struct assignment, without those whose value nobody needs.
    std::vector<NODE*> needed_assignments(const NODE* stasg) {
        CANDIDATE *target = candidate_named(stasg->left), *source = candidate_named(stasg->right);
        if (source != nullptr) source->copied = true;
        std::vector<NODE*> asgs = convert(stasg);
        OPTASSERT(!asgs.empty());
        if (target == nullptr) return asgs;
        std::erase_if(asgs, [&](NODE* asg) {
            if (is_needed(target, asg->left->right->mval)) return false;
            erase_tree(asg);
            return true;
        });
        return asgs;
    }

    // Rewrites the statement of the cell. False if nothing is left of it; the next cell has taken its place then.
    bool rewrite(LIST*& link) {
        LIST* cell = link;
        if (cell->first->op == STASG && names_candidate(cell->first)) {
            std::vector<NODE*> asgs = needed_assignments(cell->first);
            erase_tree(cell->first);
            if (asgs.empty()) {
                link = cell->rest;
                delete cell;
                return false;
            }
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
        return true;
    }

    static NODE* zero_of(TYPE* type) {
        if (type->is_ptr()) return mk_PCONV(mk_ICON(INT65(), tp->int_type()), type);
        if (!type->is_fltpt()) return mk_ICON(INT65(), type);
        NODE* zero = new_node(FCON, type);
        zero->mk_fcon("0");
        return zero;
    }

    // A variable of a struct that was copied as a whole gets a value at the entry if it may be read without one.
    void define_copied_variables() {
        std::vector<SYMTAB*> variables;
        for (auto& c : candidates_) {
            if (!c->alive || !c->copied) continue;
            for (const PART& part : c->parts)
                if (part.variable->type->is_scalar()) variables.push_back(part.variable);
        }
        for (size_t start = 0; start < variables.size(); start += max_assigned_query) {
            size_t end = std::min(start + max_assigned_query, variables.size());
            std::vector<SYMTAB*> some(variables.begin() + static_cast<std::ptrdiff_t>(start),
                                      variables.begin() + static_cast<std::ptrdiff_t>(end));
            uint64_t undefined = read_before_assigned(f_, some, false);
            LIST*& place = prolog_ != nullptr ? prolog_->rest : f_->bb_list->stmts;
            for (size_t i = some.size(); i-- != 0;) {
                if (!(undefined >> i & 1)) continue;
                NODE* name = mk_NAME(some[i]);
                NODE* asg = mk_ASG(name, zero_of(some[i]->type));
                set_scope_of_tree(asg, name->scope);
                place = new LIST(asg, place != nullptr ? place->psn : nullptr, place);
            }
        }
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
    std::vector<COPY> copies_;
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
