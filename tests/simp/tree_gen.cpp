#include "tree_gen.h"

#include "ir/opt_expr.h"

// ------------------------------------------------------------------------------------------------------------ effects

namespace {

uint64_t bit_of(int variable) { return uint64_t{1} << variable; }

uint64_t every_object() {
    return bit_of(world.ints) | bit_of(world.chars) | bit_of(world.record) | bit_of(world.local_record);
}

// The objects that a pointer value may point into.
uint64_t objects_behind(const NODE* pointer) {
    switch (pointer->op) {
    case NAME: {
        int target = world.variables[pointer->u.sym->word[1]].points_to;
        return target >= 0 ? bit_of(target) : every_object();
    }
    case UAND: {
        const NODE* object = pointer->left;
        while (object->op == STDOT) object = object->left;
        if (object->op == UMULT || object->op == STREF) return objects_behind(object->left);
        return object->op == NAME ? bit_of(variable_of(object->u.sym)) : every_object();
    }
    case PLUS:
    case MINUS:
    case PCONV: return objects_behind(pointer->left);
    case QUEST: return objects_behind(pointer->right->left) | objects_behind(pointer->right->right);
    case COMMAOP:
    case ASG: return objects_behind(pointer->right);
    default: return every_object();
    }
}

// The variables that an access of an lvalue touches.
uint64_t touched(const NODE* lvalue) {
    switch (lvalue->op) {
    case NAME: return lvalue->type->is_func() ? 0 : bit_of(variable_of(lvalue->u.sym));
    case STDOT: return touched(lvalue->left);
    case UMULT:
    case STREF: return objects_behind(lvalue->left);
    case COMMAOP: return touched(lvalue->right);
    default: return every_object();
    }
}

EFFECTS both(const EFFECTS& a, const EFFECTS& b, bool sequenced) {
    EFFECTS sum{a.reads | b.reads, a.writes | b.writes, a.events || b.events, a.conflict || b.conflict};
    if (!sequenced && (((a.reads | a.writes) & b.writes) != 0 || (b.reads & a.writes) != 0 || (a.events && b.events)))
        sum.conflict = true;
    return sum;
}

EFFECTS lvalue_address_effects(const NODE* n) {
    switch (n->op) {
    case NAME: return {};
    case STDOT: return lvalue_address_effects(n->left);
    case COMMAOP: return both(effects_of(n->left), lvalue_address_effects(n->right), true);
    default: return effects_of(n->left);
    }
}

} // namespace

EFFECTS effects_of(const NODE* n) {
    EFFECTS e;
    if (n == nullptr || n->op == FIELD) return e;
    if (opcode_is_lvalue(n->op)) {
        e = lvalue_address_effects(n);
        if (kind_of_type(n->type) != K_BLOCK) e.reads |= touched(n);
        e.events |= n->type->is_volatile();
        return e;
    }
    if (n->op == UAND) return lvalue_address_effects(n->left);
    if (opcode_is_call(n->op)) {
        if (n->op == CALL) e = effects_of(n->right);
        e.conflict |= (e.writes & (bit_of(world.changed_by_calls) | bit_of(world.ints))) != 0 || e.events;
        e.writes |= bit_of(world.changed_by_calls) | bit_of(world.ints);
        e.reads |= bit_of(world.changed_by_calls) | bit_of(world.ints);
        e.events = true;
        return e;
    }
    if (opcode_is_store(n->op)) {
        EFFECTS address = lvalue_address_effects(n->left);
        EFFECTS value = effects_of(n->right);
        e = both(address, value, false);
        uint64_t target = touched(n->left);
        // The store comes after both operands' values, but not after their other effects; x = (x = y) is the same in
        // every order.
        bool twice = n->op == ASG && n->right->op == ASG && trees_are_congruent(n->left, n->right->left);
        uint64_t others = twice ? effects_of(n->right->right).writes : address.writes | value.writes;
        e.conflict |= (others & target) != 0;
        bool is_volatile = n->left->type->is_volatile();
        e.conflict |= is_volatile && e.events;
        e.events |= is_volatile;
        if (n->op != ASG && n->op != STASG) {
            e.conflict |= ((address.writes | value.writes) & target) != 0;
            e.reads |= target;
        }
        e.writes |= target;
        return e;
    }
    if (n->op == MEMCPY) {
        const NODE* ends = n->left->left;
        e = both(both(effects_of(ends->left), effects_of(ends->right), false), effects_of(n->left->right), false);
        uint64_t to = objects_behind(ends->left), from = objects_behind(ends->right);
        e.conflict |= (e.writes & (to | from)) != 0;
        e.reads |= from;
        e.writes |= to;
        return e;
    }
    if (n->op == QUEST) {
        EFFECTS arms = both(effects_of(n->right->left), effects_of(n->right->right), true);
        return both(effects_of(n->left), arms, true);
    }
    bool sequenced = n->op == ANDAND || n->op == OROR || n->op == COMMAOP || n->op == IF;
    return both(effects_of(n->left), effects_of(n->right), sequenced);
}

bool has_implicit_conversions(const NODE* tree) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(tree), [&](NODE* n) {
        KIND own = kind_of_type(n->type);
        KIND left = n->left != nullptr ? kind_of_type(n->left->type) : K_NONE;
        KIND right = n->right != nullptr ? kind_of_type(n->right->type) : K_NONE;
        switch (opcode_class(n->op)) {
        case CLASS_ARITHMETIC:
            if ((n->op == PLUS || n->op == MINUS) && (own == K_P || left == K_P)) break;
            found |= left != own || right != own;
            break;
        case CLASS_SHIFT:
        case CLASS_UNARY: found |= left != own; break;
        case CLASS_COMPARISON:
        case CLASS_ASG: found |= left != right; break;
        default: found |= n->op == COLON && (left != own || right != own); break;
        }
        return true;
    });
    return found;
}

// ---------------------------------------------------------------------------------------------------------- generator

namespace {

// Whether every operator of the tree is in the set; leaves, conversions and accesses are in every set.
bool has_only(NODE* tree, const std::bitset<256>& ops) {
    if (ops.all()) return true;
    bool good = true;
    walk_tree_top_down(tree, [&](NODE* n) {
        static const std::bitset<256> always = [] {
            std::bitset<256> set;
            for (int op : {SCONV, PCONV, COLON, COMMA, STDOT, STREF, UAND, UMULT}) set.set(static_cast<size_t>(op));
            return set;
        }();
        size_t op = static_cast<size_t>(n->op & 255);
        good = good && (number_of_operands[op] == 0 || always.test(op) || ops.test(op));
        return good;
    });
    return good;
}

// What a subtree may do, given what stands on the other side of unsequenced operators above it.
struct LIMITS {
    uint64_t no_read = 0, no_write = 0;
    bool events = true;

    LIMITS beside(const EFFECTS& other) const {
        return {no_read | other.writes, no_write | other.reads | other.writes, events && !other.events};
    }
};

class GENERATOR {
  public:
    GENERATOR(uint64_t seed, const TREE_OPTIONS& options) : random_(seed), options_(options) {
        marks_ = random_.percent(70) ? ALL : random_.percent(60) ? NONE : SOME;
        loose_ = options_.loose && random_.percent(15);
        many_ = random_.percent(25);
        quiet_ = !options_.effects || random_.percent(50);
        for (auto& c : favourites_) c = special_value(random_, K_W);
    }
    ~GENERATOR() {
        for (auto& [kind, tree] : pool_) erase_tree(tree);
    }

    NODE* root() {
        int size = 2 + random_.below(options_.max_size);
        LIMITS limits;
        limits.events = !quiet_;
        if (quiet_) limits.no_write = ~uint64_t{0};
        if (options_.statements && random_.percent(4)) return statement(size, limits);
        if (options_.statements && random_.percent(6))
            return mk_IF(value(any_kind(), size, limits), 1, UINT32_MAX, 2, UINT32_MAX, nullptr);
        if (!quiet_ && random_.percent(25)) return assignment(any_int(), size, limits);
        int choice = random_.below(100);
        KIND k = choice < 60 || !options_.floats ? any_int() : choice < 85 ? K_W : choice < 92 ? any_kind() : K_D;
        return value(k, size, limits);
    }

  private:
    NODE* statement(int size, const LIMITS& limits) {
        LIMITS pure = limits;
        pure.events = false;
        pure.no_write = ~uint64_t{0};
        auto label = [&](int n) { return mk_LABELREF(INT65(n)); };
        int choice = random_.below(4);
        if (choice == 0) {
            NODE* fact = random_.one_in(2) ? condition(size, pure) : logical(size, pure);
            if (random_.one_in(3)) fact = maketree(EQ, make_int(fact), constant(K_W, 0), type(K_W));
            return maketree(NASSERT, fact, nullptr, tp->void_type);
        }
        if (choice == 1) {
            KIND k = any_int();
            NODE* first = maketree(CASE, constant(k, some_constant(k)), label(1), type(K_W));
            NODE* last = maketree(DEFAULT, label(2), nullptr, type(K_W));
            return maketree(SWITCH, value(k, size, limits), maketree(COMMA, first, last, type(K_W)), type(K_W));
        }
        if (!options_.pointers || quiet_) return value(K_W, size, limits);
        if (choice == 2) return mk_ASG(name_of(world.local_record), name_of(world.record));
        NODE* to = mk_PCONV(random_.one_in(2) ? mk_UAND(name_of(world.chars), world.pointer_to_char)
                                              : element_pointer(true, 3, pure),
                            tp->void_ptr);
        NODE* from = mk_PCONV(random_.one_in(2) ? mk_UAND(name_of(world.record), world.pointer_to_record)
                                                : element_pointer(true, 3, pure),
                              tp->void_ptr);
        NODE* ends = maketree(COMMA, to, from, type(K_W));
        return maketree(MEMCPY, maketree(COMMA, ends, constant(K_W, random_.below(6)), type(K_W)), nullptr,
                        tp->void_ptr);
    }

    NODE* make_int(NODE* n) { return kind_of_type(n->type) == K_W ? n : maketree(NEQ, n, copy_tree(n), type(K_W)); }

    enum MARKS { ALL, SOME, NONE };
    RANDOM random_;
    const TREE_OPTIONS& options_;
    MARKS marks_;
    bool loose_, many_, quiet_;
    int64_t favourites_[3];
    std::vector<std::pair<KIND, NODE*>> pool_; // copies of trees without effects, for repetition

    bool may(int op) const { return options_.ops[static_cast<size_t>(op)]; }
    TYPE* type(KIND k) const { return world.type_of[k]; }

    // ---- kinds
    KIND any_int() {
        static const KIND kinds[] = {K_W, K_W, K_W, K_UW, K_UW, K_L, K_UL, K_H, K_UH};
        return kinds[random_.below(9)];
    }
    KIND any_kind() {
        int choice = random_.below(20);
        if (choice == 0 && options_.floats) return K_F;
        if (choice == 1 && options_.floats) return K_D;
        if (choice == 2 && options_.pointers) return K_P;
        if (choice == 3) return K_B;
        return any_int();
    }
    int part_of(int size) { return size <= 2 ? 1 : 1 + random_.below(size - 1); }

    // ---- leaves
    NODE* constant(KIND k, int64_t v) { return mk_ICON(INT65(static_cast<long long>(v)), type(k)); }
    int64_t some_constant(KIND k) {
        if (random_.percent(35)) {
            int64_t v = favourites_[random_.below(3)];
            return random_.percent(70) ? v : wrapped_sum(v, random_.below(3) - 1);
        }
        return special_value(random_, k);
    }
    NODE* float_constant(KIND k) {
        static const char* const texts[] = {"0x0p+0",  "0x1p+0", "-0x1p+0",  "0x1p+1",
                                            "-0x0p+0", "0x1p-1", "0x1.8p+1", "0x1.4p+3"};
        NODE* node = new_node(FCON, type(k));
        node->mk_fcon(texts[random_.below(8)]);
        return node;
    }
    // A variable of the kind that may be read; -1 if there is none.
    int readable(KIND k, uint64_t excluded) {
        const std::vector<int>& all = world.of_kind[k];
        if (all.empty()) return -1;
        size_t limit = many_ ? all.size() : std::min<size_t>(all.size(), 2);
        size_t start = static_cast<size_t>(random_.below(static_cast<int>(limit)));
        for (size_t i = 0; i < all.size(); i++) {
            int v = all[(start + i) % all.size()];
            if ((excluded & bit_of(v)) == 0) return v;
        }
        return -1;
    }
    NODE* leaf(KIND k, const LIMITS& limits) {
        if (is_float_kind_of(k)) {
            int v = readable(k, limits.no_read);
            return v < 0 || random_.percent(35) ? float_constant(k) : name_of(v);
        }
        if (k == K_P) return pointer(1, limits);
        if (random_.percent(k == K_B ? 15 : 33)) return constant(k, k == K_B ? random_.below(2) : some_constant(k));
        if (options_.volatiles && !quiet_ && limits.events && random_.percent(8))
            for (int v : world.volatiles)
                if (world.variables[static_cast<size_t>(v)].kind == k) return name_of(v);
        if (options_.memory && random_.percent(15))
            if (NODE* n = memory_lvalue(k, 1, limits, limits.no_read)) return n;
        int v = readable(k, limits.no_read);
        return v < 0 ? constant(k, some_constant(k)) : name_of(v);
    }

    // ---- memory. `excluded`: objects that may not be touched.
    NODE* index(int size, int count, int units, const LIMITS& limits) {
        if (size <= 1 || random_.percent(50)) return constant(K_W, random_.below(count) * units);
        NODE* masked = binary(ANDB, K_W, value(K_W, size - 1, limits), constant(K_W, count - 1));
        if (random_.percent(20)) {
            KIND narrow = random_.one_in(3) ? K_UW : random_.one_in(2) ? K_H : K_UH;
            erase_tree(masked);
            masked = convert(binary(ANDB, narrow, value(narrow, size - 1, limits), constant(narrow, count - 1)), K_W);
        }
        if (random_.percent(20)) // a constant part
            return binary(random_.one_in(2) ? PLUS : MINUS, K_W,
                          units == 1 ? masked : binary(MULT, K_W, masked, constant(K_W, units)),
                          constant(K_W, random_.below(4) * units));
        if (units == 1) return masked;
        return random_.percent(80) ? binary(MULT, K_W, masked, constant(K_W, 2))
                                   : binary(SLL, K_W, masked, constant(K_W, 1));
    }
    NODE* element_pointer(bool ints, int size, const LIMITS& limits) {
        TYPE* pointer_type = ints ? type(K_P) : world.pointer_to_char;
        int object = ints ? world.ints : world.chars;
        NODE* base;
        std::vector<int> holders;
        for (int v : world.of_kind[K_P])
            if (world.variables[static_cast<size_t>(v)].points_to == object && (limits.no_read & bit_of(v)) == 0)
                holders.push_back(v);
        bool through_variable = !holders.empty() && random_.percent(60);
        base = through_variable ? name_of(random_.pick(holders)) : mk_UAND(name_of(object), pointer_type);
        if (size <= 1 && random_.percent(50)) return base;
        NODE* offset = index(size - 1, through_variable ? 4 : 8, ints ? 2 : 1, limits);
        return maketree(random_.percent(85) ? PLUS : MINUS, base, offset, pointer_type);
    }
    NODE* field(int number) {
        fkMDATA* m = world.record_type->csu->members[static_cast<size_t>(number)].get();
        NODE* node = new_node(FIELD, m->type);
        node->mk_field(1, m, world.record_type);
        return node;
    }
    // A member, or an element of an array, of that kind; null if there is none that may be touched.
    NODE* memory_lvalue(KIND k, int size, const LIMITS& limits, uint64_t excluded) {
        bool ints = k == K_W && options_.pointers, chars = k == K_H && options_.pointers;
        if ((ints || chars) && random_.percent(50) && (excluded & bit_of(ints ? world.ints : world.chars)) == 0)
            return mk_UMULT(ints && random_.percent(15) && (excluded & bit_of(world.record)) == 0
                                ? address(size, limits)
                                : element_pointer(ints, size, limits),
                            type(k));
        if (chars && random_.percent(6) &&
            (excluded & bit_of(world.record)) == 0) { // a half of a record's first member
            NODE* member = maketree(STDOT, name_of(world.record), field(0), type(K_W));
            return mk_UMULT(mk_PCONV(mk_UAND(member, type(K_P)), world.pointer_to_char), type(k));
        }
        if (options_.pointers && random_.percent(8)) // *&x
            for (int v : world.of_kind[k])
                if (!world.variables[static_cast<size_t>(v)].is_local && v != world.changed_by_calls &&
                    (excluded & bit_of(v)) == 0)
                    return mk_UMULT(mk_UAND(name_of(v), tp->mk_ptr(type(k))), type(k));
        std::vector<int> fitting;
        for (int m : world.bits_and_members)
            if (kind_of_type(world.record_type->csu->members[static_cast<size_t>(m)]->type) == k) fitting.push_back(m);
        if (fitting.empty()) return nullptr;
        int member = random_.pick(fitting);
        TYPE* member_type = world.record_type->csu->members[static_cast<size_t>(member)]->type->normalized();
        int holder = world.of_kind[K_P].back();
        if (options_.pointers && random_.percent(30)) {
            NODE* base = record_pointer(limits, excluded);
            if (base != nullptr && random_.one_in(2)) return maketree(STREF, base, field(member), member_type);
            if (base != nullptr) return maketree(STDOT, mk_UMULT(base, world.record_type), field(member), member_type);
        }
        if (random_.percent(40) && (excluded & bit_of(world.record)) == 0 && (limits.no_read & bit_of(holder)) == 0)
            return maketree(STREF, name_of(holder), field(member), member_type);
        int object = random_.percent(60) ? world.record : world.local_record;
        if ((excluded & bit_of(object)) != 0) return nullptr;
        return maketree(STDOT, name_of(object), field(member), member_type);
    }
    // A pointer to the struct's type that is no plain variable; null if it would touch what is excluded.
    NODE* record_pointer(const LIMITS& limits, uint64_t excluded) {
        TYPE* t = world.pointer_to_record;
        int holder = world.of_kind[K_P].back();
        switch (random_.below(4)) {
        case 0:
            if ((excluded & bit_of(world.record)) != 0) return nullptr;
            return mk_UAND(name_of(world.record), t);
        case 1: { // the ints seen as a struct, from some element on
            if ((excluded & bit_of(world.ints)) != 0) return nullptr;
            NODE* p = mk_PCONV(mk_UAND(name_of(world.ints), type(K_P)), t);
            return maketree(PLUS, p, constant(K_W, 2 * random_.below(3)), t);
        }
        case 2:
            if ((excluded & bit_of(world.record)) != 0) return nullptr;
            return maketree(PLUS, mk_UAND(name_of(world.record), t), constant(K_W, 2 * random_.below(3)), t);
        default:
            if ((excluded & bit_of(world.record)) != 0 || (limits.no_read & bit_of(holder)) != 0) return nullptr;
            return maketree(random_.one_in(2) ? PLUS : MINUS, name_of(holder), constant(K_W, random_.below(2) * 2), t);
        }
    }
    // The address of an lvalue of int type, spelt in some way.
    NODE* address(int size, const LIMITS& limits) {
        int holder = world.of_kind[K_P].back();
        bool through = (limits.no_read & bit_of(holder)) == 0;
        switch (random_.below(6)) {
        case 0: return mk_UAND(mk_UMULT(element_pointer(true, size, limits), type(K_W)), type(K_P));
        case 1: return mk_UAND(maketree(STDOT, name_of(world.record), field(0), type(K_W)), type(K_P));
        case 2:
            if (!through) break;
            return mk_UAND(maketree(STREF, name_of(holder), field(0), type(K_W)), type(K_P));
        case 3:
            if (random_.one_in(3))
                return mk_PCONV(
                    mk_PCONV(mk_UAND(name_of(world.record), world.pointer_to_record), world.pointer_to_char),
                    type(K_P));
            return mk_PCONV(mk_PCONV(element_pointer(true, size, limits), world.pointer_to_char), type(K_P));
        case 4:
            if (random_.one_in(2))
                return mk_PCONV(mk_SCONV(element_pointer(true, size, limits), type(K_UW)), type(K_P));
            return maketree(PLUS,
                            mk_PCONV(constant(K_W, world.variables[static_cast<size_t>(world.ints)].at), type(K_P)),
                            constant(K_W, 2 * random_.below(4)), type(K_P));
        default: break;
        }
        return mk_PCONV(
            mk_UAND(name_of(world.ints), tp->mk_ptr(world.variables[static_cast<size_t>(world.ints)].symbol->type)),
            type(K_P));
    }
    NODE* pointer(int size, const LIMITS& limits) {
        if (random_.percent(20)) return address(std::max(1, size - 2), limits);
        if (random_.percent(6)) return mk_PCONV(constant(random_.one_in(2) ? K_W : any_int(), 0), type(K_P));
        if (size > 4 && random_.percent(20)) return choice(K_P, size, limits);
        if (random_.percent(6) && (limits.no_read & bit_of(world.of_kind[K_P].back())) == 0)
            return mk_PCONV(name_of(world.of_kind[K_P].back()), type(K_P));
        return element_pointer(true, size, limits);
    }

    // ---- plain operators
    NODE* mark(NODE* node) {
        bool can = node->op == PLUS || node->op == MINUS || node->op == MULT || node->op == UMINUS ||
                   node->op == PLUSASG || node->op == MINUSASG || node->op == MULTASG;
        if (!can || !node->type->is_signed() || !is_int_kind(kind_of_type(node->type))) return node;
        if (marks_ == ALL || (marks_ == SOME && random_.one_in(2))) node->flags |= NODE_NO_WRAP;
        return node;
    }
    NODE* binary(int op, KIND k, NODE* a, NODE* b) { return mark(maketree(op, a, b, type(k))); }
    NODE* unary(int op, KIND k, NODE* a) { return mark(maketree(op, a, nullptr, type(k))); }
    NODE* convert(NODE* n, KIND to) {
        if (to == K_P) return mk_PCONV(n, type(to));
        return mk_SCONV(n, type(to));
    }
    // An operand of an operator of kind k; now and then of another type.
    NODE* operand(KIND k, int size, const LIMITS& limits) {
        if (loose_ && is_int_kind(k) && k != K_B && random_.percent(25)) k = any_int();
        return value(k, size, limits);
    }
    template <typename A, typename B> NODE* two(int op, TYPE* t, A&& make_a, B&& make_b, const LIMITS& limits) {
        bool left_first = random_.one_in(2);
        NODE* first = left_first ? make_a(limits) : make_b(limits);
        LIMITS rest = limits.beside(effects_of(first));
        NODE* second = left_first ? make_b(rest) : make_a(rest);
        return mark(maketree(op, left_first ? first : second, left_first ? second : first, t));
    }
    NODE* two(int op, KIND k, KIND left, int left_size, KIND right, int right_size, const LIMITS& limits) {
        return two(
            op, type(k), [&](const LIMITS& l) { return operand(left, left_size, l); },
            [&](const LIMITS& l) { return operand(right, right_size, l); }, limits);
    }

    NODE* choice(KIND k, int size, const LIMITS& limits) {
        int third = std::max(1, (size - 2) / 3);
        NODE* cond = random_.percent(70) ? value(K_W, third, limits) : condition(third, limits);
        NODE* arms = maketree(COLON, value(k, third, limits), value(k, third, limits), type(k));
        return maketree(QUEST, cond, arms, type(k));
    }
    NODE* condition(int size, const LIMITS& limits) {
        return size <= 2 ? value(any_kind(), size, limits) : comparison(size, limits);
    }

    NODE* comparison(int size, const LIMITS& limits) {
        int part = part_of(size - 1);
        int choice = random_.below(20);
        if (choice == 0 && options_.pointers) {
            static const int ops[] = {EQ, NEQ, ULT, ULE, UGT, UGE};
            return two(
                ops[random_.below(6)], type(K_W), [&](const LIMITS& l) { return pointer(part, l); },
                [&](const LIMITS& l) { return pointer(size - 1 - part, l); }, limits);
        }
        if (choice == 1 && options_.floats)
            return two(EQ + random_.below(6), K_W, K_D, part, K_D, size - 1 - part, limits);
        KIND k = any_int();
        static const int signed_ops[] = {EQ, NEQ, LT, LE, GT, GE}, unsigned_ops[] = {EQ, NEQ, ULT, ULE, UGT, UGE};
        int n = random_.below(6);
        int op = is_signed_int(k) ? signed_ops[n] : unsigned_ops[n];
        if (random_.percent(45))
            return maketree(op, operand(k, size - 2, limits), constant(k, some_constant(k)), type(K_W));
        return two(op, K_W, k, part, k, size - 1 - part, limits);
    }

    NODE* logical(int size, const LIMITS& limits) {
        int part = part_of(size - 1);
        if (random_.percent(20)) return maketree(EXCLAIM, value(any_kind(), size - 1, limits), nullptr, type(K_W));
        int op = random_.one_in(2) ? ANDAND : OROR;
        return maketree(op, condition(part, limits), condition(size - 1 - part, limits), type(K_W));
    }

    NODE* shift(KIND k, int size, const LIMITS& limits) {
        int op = random_.one_in(2) ? SLL : SRL;
        int width = static_cast<int>(bits_of_kind(k));
        if (random_.percent(75)) {
            int count = random_.percent(94)   ? random_.below(width)
                        : random_.percent(80) ? width + random_.below(3)
                                              : -1;
            return maketree(op, operand(k, size - 2, limits), constant(random_.percent(85) ? K_W : K_UW, count),
                            type(k));
        }
        KIND counter = random_.one_in(2) ? K_W : any_int();
        NODE* count = random_.one_in(2) || size < 4
                          ? nullptr
                          : binary(ANDB, counter, value(counter, 1, limits), constant(counter, width - 1));
        if (count == nullptr) return two(op, k, k, size - 2, counter, 1, limits);
        LIMITS rest = limits.beside(effects_of(count));
        return maketree(op, operand(k, std::max(1, size - 4), rest), count, type(k));
    }

    NODE* division(KIND k, int size, const LIMITS& limits) {
        int op = random_.one_in(2) ? DIV : MOD;
        if (random_.percent(75)) {
            int64_t divisor = random_.percent(60)   ? int64_t{1} << random_.below(static_cast<int>(bits_of_kind(k)) - 1)
                              : random_.percent(70) ? 2 + random_.below(14)
                                                    : some_constant(k);
            if (random_.percent(15)) divisor = wrapped_negative(divisor);
            if (divisor == 0) divisor = 1;
            return binary(op, k, operand(k, size - 2, limits), constant(k, divisor));
        }
        return two(op, k, k, size - 2, k, 1, limits);
    }

    NODE* conversion(KIND k, int size, const LIMITS& limits) {
        KIND from = any_kind();
        if (from == K_P && k != K_W && k != K_UW) from = K_W;
        return convert(value(from, size - 1, limits), k);
    }

    // A chain of one operator in a random association, with repeated terms and constants.
    NODE* chain(KIND k, int size, const LIMITS& limits) {
        static const int ops[] = {PLUS, PLUS, MULT, ANDB, ORB, XORB, MINUS};
        int op = ops[random_.below(7)];
        if (!may(op)) return nullptr;
        int terms = 3 + random_.below(3);
        std::vector<NODE*> parts;
        LIMITS rest = limits;
        for (int i = 0; i < terms; i++) {
            parts.push_back(random_.percent(35) ? constant(k, some_constant(k))
                                                : value(k, std::max(1, size / terms), rest));
            rest = rest.beside(effects_of(parts.back()));
        }
        while (parts.size() > 1) {
            size_t at = static_cast<size_t>(random_.below(static_cast<int>(parts.size()) - 1));
            int this_op = op == PLUS && random_.percent(25) ? int{MINUS} : op;
            parts[at] = binary(this_op, k, parts[at], parts[at + 1]);
            parts.erase(parts.begin() + static_cast<long>(at) + 1);
        }
        return parts[0];
    }

    // A term under some steps of one operator and a constant each, with changes of the type in between.
    NODE* ladder(KIND k, const LIMITS& limits) {
        KIND now = random_.one_in(2) ? k : any_int();
        NODE* n = leaf(now, limits);
        for (int steps = 2 + random_.below(5); steps > 0; steps--) {
            auto c = [&] { return constant(now, some_constant(now)); };
            auto count = [&] { return constant(K_W, random_.below(static_cast<int>(bits_of_kind(now)))); };
            switch (random_.below(12)) {
            case 0:
            case 1:
            case 2: {
                KIND to = any_int();
                if (to != now) n = convert(n, to);
                now = to;
                break;
            }
            case 3: n = binary(random_.one_in(2) ? PLUS : MINUS, now, n, c()); break;
            case 4: n = binary(random_.one_in(3) ? MINUS : MULT, now, c(), n); break;
            case 5:
            case 6: n = binary(ANDB, now, n, c()); break;
            case 7: n = binary(random_.one_in(2) ? ORB : XORB, now, n, c()); break;
            case 8:
            case 9: n = maketree(random_.one_in(2) ? SLL : SRL, n, count(), type(now)); break;
            case 10: n = binary(random_.one_in(2) ? DIV : MOD, now, n, constant(now, 1 + random_.below(20))); break;
            default:
                if (random_.one_in(3)) {
                    n = unary(random_.one_in(2) ? UMINUS : NOTB, now, n);
                } else if (random_.one_in(2)) {
                    static const int ops[] = {EQ, NEQ, LT, LE, GT, GE};
                    int op = ops[random_.below(6)];
                    if (!is_signed_int(now) && op != EQ && op != NEQ) op += ULE - LE;
                    n = maketree(op, n, c(), type(K_W));
                    now = K_W;
                } else {
                    n = maketree(QUEST, n, maketree(COLON, c(), c(), type(now)), type(now));
                }
            }
        }
        return now == k ? n : convert(n, k);
    }

    NODE* rel_k(KIND k, NODE* a, NODE* b) {
        NODE* n = maketree(random_.one_in(2) ? EQ : is_signed_int(k) ? LT : ULT, a, b, type(K_W));
        return k == K_W ? n : convert(n, k);
    }

    // ---- shapes that rules look for, over terms without effects
    NODE* shape(KIND k, int size, const LIMITS& outer) {
        LIMITS limits = outer;
        limits.events = false;
        limits.no_write = ~uint64_t{0};
        int width = static_cast<int>(bits_of_kind(k));
        int small = std::max(1, (size - 4) / 2);
        NODE* x = value(k, small, limits);
        auto again = [&] { return copy_tree(x); };
        auto other = [&] { return value(k, small, limits); };
        auto c = [&] { return constant(k, some_constant(k)); };
        auto bits = [&] { return constant(K_W, random_.below(width)); };
        auto mask = [&] { return random_.percent(60) ? low_ones(random_.below(width)) : special_value(random_, k); };
        auto b = [&](int op, NODE* l, NODE* r) { return binary(op, k, l, r); };
        auto u = [&](int op, NODE* l) { return unary(op, k, l); };
        auto sh = [&](int op, NODE* l, NODE* r) { return maketree(op, l, r, type(k)); };
        auto sum = [&] { return random_.one_in(2) ? PLUS : MINUS; };
        auto bitop = [&] { return random_.below(3) == 0 ? int{ANDB} : random_.one_in(2) ? int{ORB} : int{XORB}; };
        auto relop = [&] {
            int n = random_.below(6);
            return n < 2 ? EQ + n : (is_signed_int(k) ? LE : ULE) + n - 2;
        };
        auto rel = [&](NODE* l, NODE* r) { return maketree(relop(), l, r, type(K_W)); };
        auto as_k = [&](NODE* n) { return k == K_W ? n : convert(n, k); };
        auto logic = [&](NODE* l, NODE* r) {
            static const int ops[] = {ANDAND, OROR, ANDB, ORB, XORB};
            return maketree(ops[random_.below(5)], l, r, type(K_W));
        };
        auto select = [&](NODE* cond, NODE* t, NODE* f) {
            return maketree(QUEST, cond, maketree(COLON, t, f, type(k)), type(k));
        };
        int64_t m = mask();
        switch (random_.below(55)) {
        case 0: {
            int s = random_.below(width);
            return sh(SRL, sh(SLL, x, constant(K_W, s)), random_.percent(70) ? constant(K_W, s) : bits());
        }
        case 1: {
            int s = random_.below(width);
            return sh(SLL, sh(SRL, x, constant(K_W, s)), random_.percent(70) ? constant(K_W, s) : bits());
        }
        case 2: return sh(random_.one_in(2) ? SLL : SRL, sh(random_.one_in(2) ? SLL : SRL, x, bits()), bits());
        case 3:
            return b(bitop(), b(ANDB, x, constant(k, m)),
                     b(ANDB, random_.one_in(2) ? again() : other(), constant(k, random_.one_in(2) ? ~m : mask())));
        case 4: return b(ANDB, b(bitop(), x, constant(k, mask())), constant(k, m));
        case 5: return b(sum(), b(MULT, x, c()), random_.one_in(2) ? again() : b(MULT, again(), c()));
        case 6: return b(sum(), b(MULT, x, other()), b(MULT, random_.one_in(2) ? again() : other(), other()));
        case 7: return b(sum(), b(sum(), x, c()), random_.one_in(2) ? again() : b(sum(), other(), c()));
        case 8: {
            int64_t d = 1 + random_.below(16);
            NODE* q = b(DIV, x, constant(k, d));
            if (random_.one_in(2)) return b(MULT, q, constant(k, random_.percent(70) ? d : 1 + random_.below(16)));
            return b(MINUS, again(), b(MULT, q, constant(k, d)));
        }
        case 9:
            return b(random_.one_in(2) ? DIV : MOD,
                     b(random_.one_in(2) ? MULT : DIV, x, constant(k, 1 + random_.below(12))),
                     constant(k, 1 + random_.below(12)));
        case 10:
            return b(random_.one_in(2) ? DIV : MOD, b(sum(), b(MULT, x, constant(k, 2 + random_.below(6))), c()),
                     constant(k, 2 + random_.below(6)));
        case 11: return b(sum(), u(NOTB, x), constant(k, random_.below(3)));
        case 12:
            return u(random_.one_in(2) ? UMINUS : NOTB,
                     b(random_.one_in(2) ? sum() : bitop(), x, random_.one_in(2) ? c() : other()));
        case 13:
            return select(rel(x, random_.one_in(2) ? c() : other()), random_.one_in(2) ? again() : c(),
                          random_.one_in(2) ? u(UMINUS, again()) : c());
        case 14:
            return select(rel(x, constant(k, random_.below(2))), random_.one_in(2) ? again() : u(UMINUS, again()),
                          random_.one_in(2) ? u(UMINUS, again()) : again());
        case 15: {
            NODE* y = other();
            return select(rel(x, y), random_.one_in(2) ? again() : copy_tree(y),
                          random_.one_in(2) ? copy_tree(y) : again());
        }
        case 16: return as_k(logic(rel(x, c()), rel(again(), c())));
        case 17: return as_k(logic(rel(x, other()), rel(again(), other())));
        case 18: {
            NODE* y = other();
            return as_k(logic(rel(x, y), random_.one_in(2) ? rel(again(), copy_tree(y)) : rel(copy_tree(y), again())));
        }
        case 19:
            return as_k(rel(b(ANDB, x, constant(k, m)), random_.one_in(2)   ? constant(k, m)
                                                        : random_.one_in(2) ? constant(k, 0)
                                                                            : c()));
        case 20: return as_k(rel(b(sum(), x, c()), c()));
        case 21:
            return as_k(rel(b(random_.one_in(2) ? sum() : MULT, x, other()),
                            random_.one_in(3) ? again() : constant(k, random_.below(3) - 1)));
        case 22: return as_k(rel(b(sum(), x, c()), b(sum(), random_.one_in(2) ? again() : other(), c())));
        case 23:
            return as_k(rel(b(random_.one_in(2)   ? MULT
                              : random_.one_in(2) ? DIV
                                                  : MOD,
                              x, constant(k, 1 + random_.below(20))),
                            c()));
        case 24: return as_k(rel(sh(random_.one_in(2) ? SLL : SRL, x, bits()), c()));
        case 25:
            return as_k(
                rel(random_.one_in(2) ? u(UMINUS, x) : u(NOTB, x), random_.one_in(2) ? c() : u(UMINUS, other())));
        case 26: {
            KIND narrow = any_int();
            NODE* n = convert(convert(x, narrow), k);
            return random_.one_in(2) ? n
                                     : as_k(rel(n, random_.one_in(2) ? c() : convert(value(narrow, small, limits), k)));
        }
        case 27: {
            KIND narrow = any_int();
            return convert(
                binary(random_.one_in(2) ? sum() : bitop(), narrow, convert(x, narrow),
                       random_.one_in(2) ? constant(narrow, some_constant(narrow)) : convert(other(), narrow)),
                k);
        }
        case 28:
            return as_k(maketree(EXCLAIM,
                                 random_.one_in(2)   ? rel(x, other())
                                 : random_.one_in(2) ? logic(rel(x, c()), rel(other(), c()))
                                                     : maketree(EXCLAIM, x, nullptr, type(K_W)),
                                 nullptr, type(K_W)));
        case 29: return as_k(rel(select(condition(small, limits), c(), c()), x));
        case 30: return b(sum(), c(), b(sum(), x, c()));
        case 31: return b(bitop(), sh(SLL, x, bits()), sh(SRL, random_.one_in(2) ? again() : other(), bits()));
        case 32: return b(bitop(), x, b(bitop(), random_.one_in(2) ? again() : u(NOTB, again()), other()));
        case 33: { // a truth value, inverted and computed with
            NODE* t = as_k(rel(x, c()));
            if (random_.one_in(2)) t = b(XORB, t, constant(k, 1));
            return random_.one_in(2) ? u(UMINUS, t) : b(random_.one_in(2) ? sum() : MULT, t, other());
        }
        case 34:
            return as_k(maketree(random_.one_in(2) ? EQ : NEQ,
                                 select(condition(small, limits), rel_k(k, x, c()), rel_k(k, again(), c())),
                                 constant(k, 0), type(K_W)));
        case 35: return select(sh(ANDB, sh(SRL, x, bits()), constant(k, 1)), other(), c());
        case 36:
            return b(ORB, b(ANDB, b(random_.one_in(2) ? ORB : XORB, x, constant(k, mask())), constant(k, m)),
                     random_.one_in(2) ? constant(k, mask()) : b(ANDB, again(), constant(k, mask())));
        case 37: return b(ANDB, b(PLUS, b(ANDB, x, constant(k, m)), constant(k, mask())), constant(k, m));
        case 38:
            return b(ANDB, b(ORB, b(ANDB, x, constant(k, mask())), b(ANDB, other(), constant(k, mask()))),
                     constant(k, m));
        case 39:
            return b(MULT,
                     random_.one_in(2) ? b(random_.one_in(2) ? MULT : DIV, x, constant(k, 2 + random_.below(9)))
                                       : as_k(convert(b(MULT, x, c()), any_int())),
                     constant(k, 2 + random_.below(9)));
        case 40: return b(random_.one_in(2) ? MOD : DIV, x, u(UMINUS, other()));
        case 41: {
            int64_t v = some_constant(k), low = wrapped_sum(low_ones(random_.below(width)), 1);
            return as_k(maketree(
                random_.one_in(2) ? OROR : ANDAND, maketree(random_.one_in(2) ? EQ : NEQ, x, constant(k, v), type(K_W)),
                random_.one_in(2) ? maketree(random_.one_in(2) ? EQ : NEQ, again(), constant(k, v ^ low), type(K_W))
                                  : rel(again(), c()),
                type(K_W)));
        }
        case 42: { // (a + x * c) + y * c
            NODE* factor = random_.one_in(2) ? c() : other();
            return b(sum(), b(sum(), other(), b(MULT, x, factor)), b(MULT, other(), copy_tree(factor)));
        }
        case 43: {
            KIND other_kind = any_int();
            return as_k(rel(convert(convert(x, other_kind), k), convert(convert(other(), other_kind), k)));
        }
        case 44: { // the bits of the parts of a field
            NODE* f = memory_lvalue(k, 1, limits, limits.no_read);
            if (f == nullptr) f = other();
            return as_k(logic(rel(x, c()), rel(b(ANDB, f, constant(k, m)), c())));
        }
        case 45: return b(ORB, b(ORB, b(ANDB, x, constant(k, mask())), other()), b(ANDB, again(), constant(k, mask())));
        case 46:
            return b(ANDB, b(PLUS, x, constant(k, -1 - random_.below(5000))),
                     constant(k, low_ones(random_.below(width))));
        case 47: {
            auto bit = [&](NODE* n) { return maketree(EQ, n, constant(k, 0), type(K_W)); };
            NODE* first = b(ANDB, x, constant(k, 1));
            NODE* second = b(ANDB, other(), constant(k, 1));
            return as_k(random_.one_in(2) ? maketree(OROR, bit(first), bit(second), type(K_W))
                                          : maketree(random_.one_in(2) ? ANDAND : OROR, first, second, type(K_W)));
        }
        case 48: return as_k(maketree(random_.one_in(2) ? ANDAND : OROR, x, other(), type(K_W)));
        case 49:   // rounded, or divided, against itself
        case 50: { // and with known bounds
            if (random_.one_in(2)) x = b(ANDB, x, constant(k, low_ones(random_.below(width))));
            auto near = [&](NODE* n) { return random_.one_in(2) ? n : b(sum(), n, constant(k, random_.below(20))); };
            NODE* d = constant(k, random_.one_in(2) ? 1 + random_.below(12) : int64_t{1} << random_.below(6));
            NODE* itself = again();
            if (random_.one_in(4)) return as_k(rel(near(itself), b(ANDB, x, constant(k, -d->u.lval.to_i64()))));
            if (random_.one_in(2)) return as_k(rel(b(MULT, b(DIV, x, d), copy_tree(d)), near(itself)));
            x = b(DIV, near(x), d);
            return as_k(random_.one_in(2) ? rel(x, itself) : rel(itself, x));
        }
        case 51: { // an offset under an unsigned order, and masks of another type
            KIND from = any_int();
            NODE* n =
                convert(binary(ANDB, from, value(from, small, limits), constant(from, low_ones(random_.below(17)))), k);
            if (random_.one_in(2)) return as_k(rel(n, x));
            return as_k(maketree(ULE + random_.below(4), b(sum(), n, c()), c(), type(K_W)));
        }
        case 52: { // products of sums that are too large to be multiplied out, and multiples of the same term
            auto large = [&] { return constant(k, special_value(random_, k)); };
            NODE* first = b(MULT, random_.one_in(3) ? b(MINUS, large(), x) : b(sum(), x, large()), large());
            NODE* second = random_.one_in(3)   ? again()
                           : random_.one_in(2) ? b(MULT, again(), c())
                                               : b(MULT, b(sum(), again(), large()), c());
            return b(sum(), random_.one_in(2) ? first : b(sum(), other(), first), second);
        }
        case 53: { // multiples of powers of two
            auto scaled = [&](NODE* n) {
                int by = random_.below(width - 1);
                return random_.one_in(3) ? sh(SLL, n, constant(K_W, by)) : b(MULT, n, constant(k, int64_t{1} << by));
            };
            return b(random_.one_in(2) ? sum() : bitop(), scaled(x), scaled(other()));
        }
        default: return b(bitop(), u(NOTB, x), random_.one_in(2) ? u(NOTB, other()) : other());
        }
    }

    // ---- effects
    NODE* target(KIND k, int size, const LIMITS& limits) {
        if (options_.memory && random_.percent(35))
            if (NODE* n = memory_lvalue(k, size, limits, limits.no_write)) return n;
        if (options_.volatiles && limits.events && random_.percent(8))
            for (int v : world.volatiles)
                if (world.variables[static_cast<size_t>(v)].kind == k) return name_of(v);
        int v = readable(k, limits.no_write);
        return v < 0 ? nullptr : name_of(v);
    }
    NODE* assignment(KIND k, int size, const LIMITS& limits) {
        NODE* lvalue = target(k, 2, limits);
        if (lvalue == nullptr) return leaf(k, limits);
        EFFECTS place = lvalue_effects(lvalue);
        LIMITS rest = limits.beside(place);
        rest.no_write |= touched(lvalue);
        rest.events = rest.events && !lvalue->type->is_volatile();
        bool reads_it_safely = (touched(lvalue) & limits.no_read) == 0;
        int choice = random_.below(100);
        bool plain_target = place.writes == 0 && !place.events && !lvalue->type->is_volatile();
        if (choice < 12 && reads_it_safely && plain_target && is_int_kind(k) && k != K_B) { // x = x op y, x = y op x
            static const int ops[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB, EQ};
            int op = ops[random_.below(7)];
            NODE *self = copy_tree(lvalue), *by = op == EQ ? constant(k, 0) : value(k, size - 3, rest);
            NODE* result = op == EQ || random_.one_in(2) ? maketree(op, self, by, op == EQ ? type(K_W) : type(k))
                                                         : maketree(op, by, self, type(k));
            return maketree(ASG, lvalue, op == EQ && k != K_W ? convert(result, k) : mark(result), type(k));
        }
        if (choice < 20 && size > 3) return maketree(ASG, lvalue, assignment(k, size - 2, rest), type(k));
        if (choice < 50 || !reads_it_safely || k == K_B)
            return maketree(ASG, lvalue, operand(k, size - 2, rest), type(k));
        if (choice < 65 && !is_float_kind_of(k))
            return maketree(random_.one_in(2) ? PLUSPLUS : MINMIN, lvalue, constant(k, k == K_P ? 2 : 1),
                            lvalue->type->type_qualified());
        if (k == K_P)
            return maketree(random_.one_in(2) ? PLUSASG : MINUSASG, lvalue, constant(K_W, random_.below(3) * 2),
                            type(k));
        static const int all[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG, SLLASG, SRLASG, DIVASG, MODASG};
        int op = all[random_.below(is_float_kind_of(k) ? 3 : 10)];
        if (op == SLLASG || op == SRLASG) {
            NODE* count = random_.percent(70) ? constant(K_W, random_.below(static_cast<int>(bits_of_kind(k))))
                                              : value(K_W, 1, rest);
            return maketree(op, lvalue, count, type(k));
        }
        KIND right = is_float_kind_of(k) ? k : random_.percent(80) ? promoted_kind(k) : combined_kind(k, any_int());
        NODE* by = op == DIVASG || op == MODASG ? constant(right, 1 + random_.below(20)) : value(right, size - 2, rest);
        return mark(maketree(op, lvalue, by, type(k)));
    }
    EFFECTS lvalue_effects(const NODE* lvalue) {
        NODE probe(UAND, type(K_P));
        probe.left = const_cast<NODE*>(lvalue);
        EFFECTS e = effects_of(&probe);
        probe.left = nullptr;
        return e;
    }
    NODE* call(int size, const LIMITS& limits) {
        uint64_t changed = bit_of(world.changed_by_calls) | bit_of(world.ints);
        if (!limits.events || ((limits.no_write | limits.no_read) & changed) != 0) return leaf(K_W, limits);
        auto callee = [&](SYMTAB* f) { return mk_UAND(mk_NAME(f), tp->mk_ptr(f->type)); };
        if (size < 4 || random_.one_in(4)) return maketree(UCALL, callee(world.getter), nullptr, type(K_W));
        LIMITS rest = limits;
        rest.events = false;
        rest.no_write |= changed;
        NODE* args = two(COMMA, K_W, K_W, (size - 2) / 2, K_W, (size - 2) / 2, rest);
        NODE* node = maketree(CALL, callee(world.function), args, type(K_W));
        node->mk_call(0, 0);
        return node;
    }
    // (v = v + c, v - c) and the like
    NODE* step_and_read(KIND k, const LIMITS& limits) {
        int v = readable(k, limits.no_read | limits.no_write);
        if (v < 0 || is_float_kind_of(k) || k == K_B) return leaf(k, limits);
        if (k == K_P) {
            NODE* p = name_of(v);
            TYPE* t = p->type;
            int step = 2 * (1 + random_.below(2));
            NODE* by = maketree(ASG, copy_tree(p), maketree(PLUS, copy_tree(p), constant(K_W, step), t), t);
            NODE* old = maketree(PLUS, p, constant(K_W, -step), t);
            if (random_.one_in(3)) old->op = MINUS, old->right->u.lval = INT65(step);
            old = maketree(COMMAOP, by, old, t);
            return t == type(K_P) ? old : mk_PCONV(old, type(K_P));
        }
        int64_t step = random_.one_in(2) ? 1 : some_constant(k);
        int op = random_.one_in(2) ? PLUS : MINUS;
        NODE* effect =
            random_.one_in(3) ? mark(maketree(op == PLUS ? PLUSASG : MINUSASG, name_of(v), constant(k, step), type(k)))
            : random_.one_in(2) ? maketree(PLUSPLUS, name_of(v), constant(k, 1), type(k))
                                : maketree(ASG, name_of(v), binary(op, k, name_of(v), constant(k, step)), type(k));
        NODE* read = random_.one_in(3) ? name_of(v)
                                       : binary(op == PLUS ? MINUS : PLUS, k, name_of(v),
                                                constant(k, random_.percent(70) ? step : 1));
        return maketree(COMMAOP, effect, read, type(k));
    }
    NODE* effect(KIND k, int size, const LIMITS& limits) {
        if (random_.percent(7)) return step_and_read(k, limits);
        uint64_t records = bit_of(world.record) | bit_of(world.local_record);
        if (k == K_W && options_.memory && random_.percent(4) && ((limits.no_read | limits.no_write) & records) == 0)
            return maketree(STDOT, mk_ASG(name_of(world.local_record), name_of(world.record)), field(0), type(K_W));
        if (random_.percent(3)) { // x = (x = y)
            NODE* inner = assignment(k, size, limits);
            if (inner->op == ASG && !effects_of(inner->left).events && effects_of(inner->left).writes == 0)
                return maketree(ASG, copy_tree(inner->left), inner, type(k));
            return inner;
        }
        int choice = random_.below(10);
        if (choice < 5) return assignment(k, size, limits);
        if (choice < 8) {
            int part = part_of(size - 1);
            NODE* first = random_.percent(75) ? assignment(any_int(), part, limits) : call(part, limits);
            return maketree(COMMAOP, first, value(k, size - 1 - part, limits), type(k));
        }
        NODE* n = call(size, limits);
        return k == K_W ? n : convert(n, k);
    }

    // ---- values
    NODE* value(KIND k, int size, const LIMITS& limits) {
        if (!pool_.empty() && random_.percent(12)) {
            auto& [kind, tree] = random_.pick(pool_);
            if (kind == k && (effects_of(tree).reads & limits.no_read) == 0) return copy_tree(tree);
        }
        NODE* n = size <= 1 ? leaf(k, limits) : build(k, size, limits);
        if (pool_.size() < 12 && random_.one_in(3)) {
            EFFECTS e = effects_of(n);
            if (e.writes == 0 && !e.events) pool_.emplace_back(k, copy_tree(n));
        }
        return n;
    }
    NODE* build(KIND k, int size, const LIMITS& limits) {
        for (int attempt = 0; attempt < 20; attempt++)
            if (NODE* n = try_build(k, size, limits)) {
                if (allowed(n)) return n;
                erase_tree(n);
            }
        return leaf(k, limits);
    }
    bool allowed(NODE* n) const { return has_only(n, options_.ops); }
    NODE* try_build(KIND k, int size, const LIMITS& limits) {
        if (!quiet_ && random_.percent(14)) return effect(k, size, limits);
        if (k == K_P) return pointer(size, limits);
        if (k == K_B) return conversion(k, size, limits);
        if (is_float_kind_of(k)) return float_value(k, size, limits);
        if (size >= 4 && random_.percent(30)) return shape(k, size, limits);
        if (size >= 3 && random_.percent(15)) return ladder(k, limits);
        int choice = random_.below(100);
        int part = part_of(size - 1), rest = size - 1 - part;
        if (choice < 28) {
            static const int ops[] = {PLUS, PLUS, MINUS, MINUS, MULT, ANDB, ANDB, ORB, XORB};
            return two(ops[random_.below(9)], k, k, part, k, std::max(1, rest), limits);
        }
        if (choice < 36) return chain(k, size, limits);
        if (choice < 44) return shift(k, size, limits);
        if (choice < 51) return division(k, size, limits);
        if (choice < 58) {
            static const int ops[] = {UMINUS, UMINUS, NOTB, NOTB, ABS, SQR};
            int op = ops[random_.below(6)];
            if (op == ABS && !is_signed_int(k)) op = NOTB;
            return unary(op, k, operand(k, size - 1, limits));
        }
        if (choice < 67) return conversion(k, size, limits);
        if (choice < 75) return this->choice(k, size, limits);
        if (choice < 79 && options_.memory) return memory_lvalue(k, size, limits, limits.no_read);
        if (choice < 81 && options_.pointers && k == K_W)
            return distance(two(
                MINUS, type(K_W), [&](const LIMITS& l) { return element_pointer(true, part, l); },
                [&](const LIMITS& l) { return element_pointer(true, std::max(1, rest), l); }, limits));
        NODE* n = random_.percent(60) ? comparison(size, limits) : logical(size, limits);
        return k == K_W ? n : convert(n, k);
    }
    // A difference of pointers, as it is or in elements.
    NODE* distance(NODE* difference) {
        difference->flags = 0;
        if (random_.one_in(3)) return difference;
        if (random_.one_in(2)) return maketree(DIV, difference, constant(K_W, 2), type(K_W));
        return maketree(PVCONV, difference, constant(K_W, 32), type(K_W));
    }
    NODE* float_value(KIND k, int size, const LIMITS& limits) {
        int part = part_of(size - 1), rest = std::max(1, size - 1 - part);
        switch (random_.below(12)) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
        case 5: {
            static const int ops[] = {PLUS, MINUS, MULT, DIV};
            return two(ops[random_.below(4)], k, k, part, k, rest, limits);
        }
        case 6: return unary(random_.percent(70) ? UMINUS : ABS, k, value(k, size - 1, limits));
        case 7: return unary(random_.percent(50) ? SQR : SQRT, k, value(k, size - 1, limits));
        case 8:
        case 9: return convert(value(random_.one_in(2) ? any_int() : k == K_F ? K_D : K_F, size - 1, limits), k);
        default: return choice(k, size, limits);
        }
    }
};

} // namespace

NODE* random_tree(uint64_t seed, const TREE_OPTIONS& options) {
    for (uint64_t attempt = 0;; attempt++) {
        NODE* tree = GENERATOR(RANDOM(seed + attempt * 0x51ED2701).next(), options).root();
        if (!effects_of(tree).conflict && has_only(tree, options.ops)) return tree;
        erase_tree(tree);
    }
}
