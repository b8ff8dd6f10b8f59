// Let the variables of sibling blocks share their place on the stack.
//
//     { int a[100]; ... } { int b[80]; struct s c; ... }        ->        one object "$O$O1": a at 0, b at 0 as well
//
// Why:    blocks that are never open at the same time need no storage of their own.
// How:    the reader records the variables of each inner block in a tree. A block's variables follow those of the block
//         around it, so that blocks side by side begin at one place. All shared variables become members, each at its
//         own bit offset, of one union, and each NAME of one becomes a member access of the union's temporary.
// Types:  storage is shared only among variables made of one and the same elementary type, each such type having a
//         region of the union. Where two variables overlap, every access to one of them then has a type that may alias
//         the other's, and nothing is moved across on the strength of types. Aggregates of several elementary types
//         share only with objects of their own type, laid out in steps of its size.
// Skips:  scalars; variables with a const or volatile part; those of the exception table; structs that will be split
//         into scalars; and every region whose sharing saves nothing.
// Cost:   two walks over the nodes of the function, only if it has blocks with such variables.
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
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

constexpr uint64_t max_shared_bits = 0x40000000; // member offsets are signed 32-bit numbers of bits
constexpr int max_type_nesting = 64;             // deeper aggregates count as mixed
constexpr size_t max_regions = 64;               // each costs a look at all variables; further types do not share

template <typename F> void for_each_sharing_scope(STACK_SHARING_SCOPE* root, F&& visit) {
    std::vector<STACK_SHARING_SCOPE*> stack;
    if (root != nullptr) stack.push_back(root);
    while (!stack.empty()) {
        STACK_SHARING_SCOPE* scope = stack.back();
        stack.pop_back();
        stack.insert(stack.end(), scope->children.rbegin(), scope->children.rend());
        visit(scope);
    }
}

// The elementary type of which a type is made throughout, or the aggregate itself if there are several; null if the
// type cannot share storage.
class SHARING_KEY {
  public:
    TYPE* of(TYPE* type) { return find(type, 0); }

  private:
    TYPE* find(TYPE* type, int nesting) {
        if (type->qual_kind() & (QUAL_CONST | QUAL_VOLATILE)) return nullptr;
        if (type->size() == 0 || !type->descriptor->is_complete() || type->is_vector() || nesting > max_type_nesting)
            return nullptr;
        if (type->is_array()) return find(type->elem_type(), nesting + 1);
        if (type->is_enum()) return normalized_underlying_type(type);
        if (type->is_scalar()) return type->type_qualified()->normalized();
        if (!type->is_csu()) return nullptr;
        auto [entry, fresh] = known_.try_emplace(type->descriptor, nullptr);
        if (fresh) {
            TYPE* key = of_csu(type->descriptor, nesting);
            known_[type->descriptor] = key; // the table may have grown meanwhile
            return key;
        }
        return entry->second;
    }

    TYPE* of_csu(TYPE* csu, int nesting) {
        TYPE* common = nullptr;
        bool mixed = !csu->csu->base_classes.empty() || csu->csu->members.empty();
        for (const auto& member : csu->csu->members) {
            TYPE* key = find(member->type, nesting + 1);
            if (key == nullptr) return nullptr;
            if (member->is_bitfield || (common != nullptr && key != common)) mixed = true;
            common = key;
        }
        return mixed ? csu : common;
    }

    std::unordered_map<TYPE*, TYPE*> known_;
};

// A variable that may share storage. While the pass runs it hangs at the symbol's first link.
struct PLACE {
    SYMTAB* symbol;
    TYPE* key;
    int scope; // number of its block, in preorder
    bool referenced = false;
    bool shared = false;
    uint64_t offset = 0; // bits, from the start of its region, then of the object
    fkMDATA* member = nullptr;
};

PLACE* place_of(const NODE* node) {
    return node->op == NAME && node->u.sym != nullptr ? static_cast<PLACE*>(node->u.sym->link[0]) : nullptr;
}

uint64_t align_up(uint64_t bits, uint64_t alignment) {
    return alignment != 0 ? (bits + alignment - 1) / alignment * alignment : bits;
}

class STACK_SHARING {
  public:
    explicit STACK_SHARING(FUNINFO* f) : f_(f) {}
    ~STACK_SHARING() {
        for (auto& place : places_) place->symbol->link[0] = nullptr;
    }

    void run() {
        collect();
        if (places_.size() < 2) return;
        find_references();
        lay_out();
        if (size_ == 0 || size_ > max_shared_bits) return;
        build_object();
        rewrite();
        remove_variables();
    }

  private:
    void collect() {
        std::unordered_set<SYMTAB*> split;
        if (opt_level() >= 2)
            for (SYMTAB* sym : splittable_struct_vars()) split.insert(sym);
        SHARING_KEY keys;
        std::unordered_map<const STACK_SHARING_SCOPE*, int> number;
        for_each_sharing_scope(f_->overlaps, [&](STACK_SHARING_SCOPE* scope) {
            number.emplace(scope, static_cast<int>(parents_.size()));
            auto parent = number.find(scope->parent);
            parents_.push_back(parent != number.end() ? parent->second : -1);
            for (SYMTAB* sym : scope->vars) {
                TYPE* key = keys.of(sym->type);
                if (key == nullptr || sym->link[0] != nullptr || sym_appears_in_EHT(sym)) continue;
                if (split.contains(sym)) continue;
                places_.push_back(std::make_unique<PLACE>());
                PLACE* place = places_.back().get();
                place->symbol = sym;
                place->key = key;
                place->scope = number[scope];
                sym->link[0] = place;
            }
        });
    }

    // A variable that is nowhere named, or is accessed as something of another size, stays by itself.
    void find_references() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_slots(cell->first, [&](NODE*& node) {
                PLACE* place = place_of(node);
                if (place == nullptr) return true;
                place->referenced = true;
                if (node->type->size() != place->symbol->size) place->symbol->link[0] = nullptr;
                return true;
            });
        });
        std::erase_if(places_, [](const std::unique_ptr<PLACE>& place) {
            bool stays = !place->referenced || place->symbol->link[0] == nullptr;
            if (stays) place->symbol->link[0] = nullptr;
            return stays;
        });
    }

    // One region for each elementary type, in the order in which they come up.
    void lay_out() {
        std::vector<TYPE*> keys;
        for (auto& place : places_)
            if (keys.size() < max_regions && std::find(keys.begin(), keys.end(), place->key) == keys.end())
                keys.push_back(place->key);
        for (TYPE* key : keys) lay_out_region(key);
    }

    void lay_out_region(TYPE* key) {
        // Blocks are numbered in preorder and places_ is in that order, so that a block's start is known before its
        // end.
        std::vector<uint64_t> ends(parents_.size());
        uint64_t total = 0, separate = 0, alignment = 1;
        size_t next = 0;
        for (size_t scope = 0; scope < parents_.size(); scope++) {
            uint64_t at = parents_[scope] >= 0 ? ends[static_cast<size_t>(parents_[scope])] : 0;
            for (; next < places_.size() && places_[next]->scope == static_cast<int>(scope); next++) {
                PLACE* place = places_[next].get();
                if (place->key != key) continue;
                at = align_up(at, place->symbol->aln);
                place->offset = at;
                at += place->symbol->size;
                alignment = std::max<uint64_t>(alignment, place->symbol->aln);
                separate += place->symbol->size;
            }
            ends[scope] = at;
            total = std::max(total, at);
        }
        if (total >= separate) return; // nothing overlaps
        size_ = align_up(size_, alignment);
        for (auto& place : places_) {
            if (place->key != key) continue;
            place->shared = true;
            place->offset += size_;
        }
        size_ += total;
        alignment_ = std::max(alignment_, alignment);
    }

    void build_object() {
        TYPE* type = tp->mk_union(make_fake_name().c_str(), static_cast<uint32_t>(align_up(size_, alignment_)),
                                  static_cast<uint32_t>(alignment_), false, 0, true, false, false);
        for (auto& place : places_) {
            if (!place->shared) continue;
            SYMTAB* sym = place->symbol;
            place->member =
                tp->add_member(type, std::make_unique<fkMDATA>(sym->name, sym->type,
                                                               static_cast<int32_t>(place->offset), sym->size, false));
        }
        tp->type_frozen(type);
        object_type_ = type;
        object_ = sym_temp('O', 1, type, nullptr);
        tprintf("%u bits of storage shared as %s\n", static_cast<unsigned>(size_), object_->name);
    }

    //     v        ->        $O$O1.v
    void rewrite() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_slots(cell->first, [&](NODE*& node) {
                if (node->op == STASG && node->left != nullptr) {
                    PLACE* target = place_of(node->left);
                    if (target != nullptr && target->shared) node->u.sym = nullptr;
                }
                PLACE* place = place_of(node);
                if (place == nullptr || !place->shared) return true;
                NODE* field = new_node(FIELD, place->member->type);
                field->mk_field(1, place->member, object_type_);
                field->scope = node->scope;
                NODE* access = maketree(STDOT, mk_NAME(object_, node->scope), field, node->type, node->scope);
                access->orig_type = node->orig_type;
                erase_node(node);
                node = access;
                return false;
            });
        });
    }

    void remove_variables() {
        for (SYMTAB** chain : {&f_->locals, &f_->temps, &f_->scalar_locals, &f_->memory_locals}) {
            for (SYMTAB** link = chain; *link != nullptr;) {
                PLACE* place = static_cast<PLACE*>((*link)->link[0]);
                if (place != nullptr && place->shared)
                    *link = (*link)->next;
                else
                    link = &(*link)->next;
            }
        }
        for (auto& place : places_) {
            if (!place->shared) continue;
            dprintf("%s shares the storage of %s at bit %u\n", place->symbol->name, object_->name,
                    static_cast<unsigned>(place->offset));
            place->symbol->next = nullptr;
            LS_remove_symbol(place->symbol);
        }
    }

    FUNINFO* f_;
    std::vector<int> parents_; // by block number; -1 for the root
    std::vector<std::unique_ptr<PLACE>> places_;
    uint64_t size_ = 0; // bits of the object
    uint64_t alignment_ = 1;
    TYPE* object_type_ = nullptr;
    SYMTAB* object_ = nullptr;
};

} // namespace

void init_stack_sharing() {
    std::vector<STACK_SHARING_SCOPE*> all;
    for_each_sharing_scope(currfuninfo->overlaps, [&](STACK_SHARING_SCOPE* scope) { all.push_back(scope); });
    for (STACK_SHARING_SCOPE* scope : all) delete scope;
    currfuninfo->overlaps = currfuninfo->overlaps_cursor = nullptr;
}

void begin_stack_sharing_scope(int level) {
    STACK_SHARING_SCOPE* scope = new STACK_SHARING_SCOPE;
    scope->level = level;
    scope->parent = currfuninfo->overlaps_cursor;
    if (scope->parent != nullptr)
        scope->parent->children.push_back(scope);
    else {
        init_stack_sharing();
        currfuninfo->overlaps = scope;
    }
    currfuninfo->overlaps_cursor = scope;
}

void end_stack_sharing_scope() {
    if (currfuninfo->overlaps_cursor != nullptr) currfuninfo->overlaps_cursor = currfuninfo->overlaps_cursor->parent;
}

void add_stack_sharing_variable(SYMTAB* sym) {
    if (currfuninfo->overlaps_cursor != nullptr) currfuninfo->overlaps_cursor->vars.push_back(sym);
}

void delete_stack_sharing_variable(SYMTAB* sym) {
    if (currfuninfo == nullptr) return;
    for_each_sharing_scope(currfuninfo->overlaps, [&](STACK_SHARING_SCOPE* scope) { std::erase(scope->vars, sym); });
}

void build_stack_sharing_type() {
    FUNINFO* f = currfuninfo;
    if (f == nullptr || f->overlaps == nullptr) return;
    if (!((f->overlaps->parent == nullptr) && (f->overlaps->level == 2) && f->overlaps->vars.empty()))
        optassert("(currfuninfo->overlaps->parent == __null) && (currfuninfo->overlaps->level == 2) && "
                  "(currfuninfo->overlaps->vars == __null)",
                  __FILE__, __LINE__);
    if (print_debug) dprintf("\n\n\t\t\t-------- ENTERING 'build_stack_sharing_type' -------\n");
    STACK_SHARING(f).run();
    for_each_sharing_scope(f->overlaps, [](STACK_SHARING_SCOPE* scope) { scope->vars.clear(); });
}
