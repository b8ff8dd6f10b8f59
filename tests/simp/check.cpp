#include "check.h"

#include "queries.h"
#include "tree_gen.h"

#include "ir/opt_expr.h"
#include "simp/fold.h"
#include "simp/rules.h"

#include <cmath>
#include <cstring>
#include <unordered_set>

const char* const mode_names[M_COUNT] = {"tree", "control", "boolean", "invert", "mask",
                                         "peel", "fold",    "casts",   "queries"};

// ------------------------------------------------------------------------------------------------------------ inputs

namespace {

double special_float(RANDOM& random) {
    static const double values[] = {0.0, -0.0, 1.0, -1.0, 0.5, 2.0, 3.0, -7.0, 1e10, 1e-30, INFINITY, -INFINITY, NAN};
    if (random.percent(30)) return static_cast<double>(random.below(2001) - 1000);
    return values[random.below(13)];
}

} // namespace

std::vector<INPUT> make_inputs(const CODE& code, uint64_t seed, int count) {
    RANDOM random(seed ^ 0xABCDEF12345);
    std::vector<int64_t> constants = code.constants();
    std::vector<INPUT> inputs(static_cast<size_t>(count));
    IMAGE base;
    for (uint16_t& unit : base) {
        int choice = random.below(8);
        unit = static_cast<uint16_t>(choice < 2    ? 0
                                     : choice == 2 ? 0xFFFF
                                     : choice < 5  ? random.below(9)
                                                   : static_cast<int>(random.next() & 0xFFFF));
    }
    int style = 0;
    for (INPUT& input : inputs) {
        input.salt = random.next();
        input.memory = base;
        if (random.one_in(3))
            for (int i = 0; i < 6; i++)
                base[static_cast<size_t>(random.below(memory_units))] = static_cast<uint16_t>(random.next());
        style = (style + 1) % 5; // every fifth input has small values only, so that products do not overflow
        int64_t previous = random.below(10);
        for (size_t i = 0; i < world.variables.size(); i++) {
            const VARIABLE& v = world.variables[i];
            if (v.kind == K_BLOCK || v.is_volatile || (code.variables() >> i & 1) == 0) continue;
            DATUM value;
            if (is_float_kind_of(v.kind)) {
                value.f = special_float(random);
                if (v.kind == K_F) value.f = static_cast<double>(static_cast<float>(value.f));
            } else if (v.kind == K_P) {
                const VARIABLE& object = world.variables[static_cast<size_t>(v.points_to)];
                bool is_record = v.points_to == world.record;
                value.i =
                    random.one_in(30) ? 0 : object.at + (is_record ? 0 : 2 * static_cast<uint32_t>(random.below(4)));
            } else if (v.kind == K_B) {
                value.i = random.below(2);
            } else {
                int choice = style == 0 ? 4 : random.below(6);
                if (choice == 0)
                    value.i = wrapped_sum(previous, random.below(3) - 1);
                else if (choice <= 2 && !constants.empty()) {
                    value.i = wrapped_sum(random.pick(constants), random.below(3) - 1);
                    if (random.one_in(6)) value.i = wrapped_negative(value.i);
                } else if (choice == 4)
                    value.i = random.below(17) - (is_signed_int(v.kind) ? 8 : 0);
                else
                    value.i = special_value(random, v.kind);
                value.i = cut(value.i, v.kind);
                previous = value.i;
            }
            set_variable(input.memory, static_cast<int>(i), value);
        }
    }
    return inputs;
}

std::string input_text(const CODE& code, const INPUT& input) {
    std::string text;
    for (size_t i = 0; i < world.variables.size(); i++) {
        const VARIABLE& v = world.variables[i];
        if ((code.variables() >> i & 1) == 0) continue;
        if (!text.empty()) text += ", ";
        text += typed_text(name_of(static_cast<int>(i))) + " = ";
        if (v.kind != K_BLOCK) {
            text += v.is_volatile ? "volatile" : value_text(get_variable(input.memory, static_cast<int>(i)), v.kind);
            continue;
        }
        char unit[16];
        text += "units";
        for (uint32_t k = 0; k < v.units; k++) {
            snprintf(unit, sizeof unit, " %04x", input.memory[v.at - first_address + k]);
            text += unit;
        }
    }
    return text;
}

// ------------------------------------------------------------------------------------------------------------- checks

namespace {

// A fault in the form of a tree: a node that is erased or occurs twice, a type that is not in normal form.
const char* form_fault(NODE* tree, bool simplified) {
    std::unordered_set<const NODE*> seen;
    const char* fault = nullptr;
    walk_tree_top_down(tree, [&](NODE* n) {
        if (!seen.insert(n).second) return fault = "a node stands in the result twice", false;
        if (n->op == ILLOP) return fault = "an erased node stands in the result", false;
        if (n->type == nullptr) return fault = "a node of the result has no type", false;
        if (simplified && n->type != n->type->normalized()) fault = "a type in the result is not normalised";
        return true;
    });
    return fault;
}

int64_t mask_for(uint64_t seed, KIND k) {
    RANDOM random(seed ^ 0x7777);
    return random.one_in(2) ? low_ones(random.below(static_cast<int>(bits_of_kind(k)))) : special_value(random, k);
}

// What is expected of the result where only part of the value counts.
struct VIEW {
    MODE mode;
    KIND kind;
    int64_t mask;
    DATUM before(DATUM v) const {
        DATUM r;
        switch (mode) {
        case M_CONTROL:
        case M_BOOLEAN: r.i = convert_value(v, kind, K_B).i; return r;
        case M_INVERT: r.i = 1 - convert_value(v, kind, K_B).i; return r;
        case M_MASK: r.i = cut(v.i & mask, kind); return r;
        case M_PEEL: return r;
        default: return v;
        }
    }
    DATUM after(DATUM v, KIND from) const {
        DATUM r;
        switch (mode) {
        case M_CONTROL: r.i = convert_value(v, from, K_B).i; return r;
        case M_BOOLEAN:
        case M_INVERT: return v;
        case M_MASK: r.i = cut(convert_value(v, from, kind).i & mask, kind); return r;
        case M_PEEL: return r;
        default: return convert_value(v, from, kind);
        }
    }
    KIND compared() const { return mode == M_TREE || mode == M_FOLD || mode == M_CASTS ? kind : K_L; }
};

NODE* transformed(NODE* tree, const VIEW& view) {
    switch (view.mode) {
    case M_CONTROL: return simp_for_control(simp_tree(tree));
    case M_BOOLEAN: return make_boolean(simp_tree(tree));
    case M_INVERT: return invert_boolean_tree(simp_tree(tree));
    case M_MASK: {
        tree = simp_tree(tree);
        return prop_mask_into_subtree(tree, INT65(static_cast<long long>(view.mask)) & type_mask(tree->type));
    }
    case M_PEEL: return peel_for_effect(tree);
    case M_FOLD: return fold_constants(tree);
    case M_CASTS: return insert_mandatory_casts(tree);
    case M_QUERIES: return view.mask % 2 != 0 ? simp_tree(tree) : tree; // of the tree as it was, too
    default: return simp_tree(tree);
    }
}

bool mode_fits(MODE mode, const NODE* tree, KIND kind) {
    if (tree->op == IF || tree->op == SWITCH || tree->op == NASSERT)
        return mode == M_TREE || mode == M_FOLD || mode == M_CASTS;
    if (!is_scalar(kind)) return mode == M_TREE || mode == M_PEEL;
    if (mode == M_MASK || mode == M_QUERIES) return is_int_kind(kind) && kind != K_B;
    return true;
}

std::string trace_text(const std::vector<uint64_t>& trace) {
    std::string text;
    char word[32];
    for (uint64_t w : trace) {
        snprintf(word, sizeof word, " %llx", static_cast<unsigned long long>(w));
        text += word;
    }
    return text.empty() ? " none" : text;
}

FINDING compare(const CODE& before, const CODE* after, const INPUT& input, const VIEW& view, CHECK_COUNTS& counts) {
    FINDING found;
    OUTCOME a, b;
    IMAGE memory_a = input.memory, memory_b = input.memory;
    counts.inputs++;
    before.run(memory_a, input.salt, true, a);
    if (a.undefined != nullptr) {
        counts.undefined++;
        return found;
    }
    if (after != nullptr) after->run(memory_b, input.salt, false, b);
    auto fail = [&](std::string what, std::string detail) {
        found = {std::move(what), std::move(detail), "", true, input};
        return found;
    };
    if (b.undefined != nullptr) return fail(std::string("the result is undefined: ") + b.undefined, "");
    DATUM x = view.before(a.value), y = after != nullptr ? view.after(b.value, after->kind()) : DATUM{};
    KIND k = view.compared();
    if (is_scalar(k) && !values_agree(x, y, k))
        return fail("the value differs", value_text(x, k) + " before, " + value_text(y, k) + " after");
    if (a.asserted != b.asserted) return fail("what is asserted differs", "");
    if (a.trace != b.trace)
        return fail("calls and volatile accesses differ",
                    "before" + trace_text(a.trace) + ", after" + trace_text(b.trace));
    for (size_t i = 0; i < temporaries_at; i++)
        if (memory_a[i] != memory_b[i]) {
            const VARIABLE& v = world.variables[world.owner[i] - 1u];
            int number = world.owner[i] - 1;
            if (is_float_kind_of(v.kind) &&
                values_agree(get_variable(memory_a, number), get_variable(memory_b, number), v.kind))
                continue;
            char detail[100];
            snprintf(detail, sizeof detail, "%s, unit %u: %04x before, %04x after", v.symbol->name,
                     static_cast<unsigned>(i - (v.at - first_address)), memory_a[i], memory_b[i]);
            return fail("a variable differs afterwards", detail);
        }
    return found;
}

} // namespace

FINDING CHECK::run(const NODE* tree) const {
    CHECK_COUNTS unused;
    CHECK_COUNTS& total = counts != nullptr ? *counts : unused;
    FINDING found;
    CODE before(tree);
    if (!before.unsupported().empty()) {
        found.what = "the generator made a tree that cannot be evaluated: " + before.unsupported();
        return found;
    }
    MODE m = mode_fits(mode, tree, before.kind()) ? mode : M_TREE;
    VIEW view{m, before.kind(), is_int_kind(before.kind()) ? mask_for(seed, before.kind()) : 0};
    uint64_t exceeded = simp_allowance_exceeded;
    NODE* result = transformed(copy_tree(tree), view);
    total.trees++;
    total.nodes_before += static_cast<uint64_t>(count_nodes_in_tree(tree));
    std::vector<INPUT> all = make_inputs(before, seed, inputs);
    if (first_input != nullptr) all.insert(all.begin(), *first_input);
    if (result == nullptr) {
        found.after = "<none>";
        if (m != M_PEEL) found.what = "there is no result";
        for (size_t i = 0; i < all.size() && found.what.empty(); i++)
            found = compare(before, nullptr, all[i], view, total);
        return found;
    }
    total.nodes_after += static_cast<uint64_t>(count_nodes_in_tree(result));
    if (const char* fault = form_fault(result, m == M_TREE || m == M_CONTROL)) {
        found.what = fault;
        return found;
    }
    std::string after_text = typed_text(result);
    CODE after(result);
    if (!after.unsupported().empty()) {
        found.what = "the result cannot be evaluated: " + after.unsupported();
    } else if (m == M_QUERIES) {
        const INPUT* on = nullptr;
        DATUM value;
        if (const char* query = wrong_query(result, all, seed, on, value))
            found = {std::string("the answer of ") + query + " is wrong",
                     "the value is " + value_text(value, after.kind()), "", true, *on};
        total.inputs += all.size();
    } else {
        uint64_t undefined = total.undefined;
        for (size_t i = 0; i < all.size() && found.what.empty(); i++)
            found = compare(before, &after, all[i], view, total);
        if (total.undefined - undefined == all.size()) total.vacuous++;
    }
    found.after = std::move(after_text);
    if (found.what.empty() && simp_allowance_exceeded != exceeded)
        found.what = "rules undo each other: the allowance of rewrites was exceeded";
    if (m == M_TREE && found.what.empty()) {
        NODE* twice = simp_tree(copy_tree(result));
        if (!trees_are_congruent_se_ok(result, twice)) {
            total.not_idempotent++;
            if (not_idempotent) not_idempotent(result, twice);
            if (must_be_idempotent) {
                found.what = "simplifying twice changes the tree";
                found.detail = "once more: " + typed_text(twice);
            }
            CODE again(twice);
            FINDING wrong;
            for (size_t i = 0; i < all.size() && wrong.what.empty(); i++)
                wrong = compare(before, &again, all[i], view, total);
            if (!wrong.what.empty()) {
                found = std::move(wrong);
                found.what += " (after simplifying twice)";
                found.after = typed_text(twice);
            }
        }
        erase_tree(twice);
    }
    erase_tree(result);
    return found;
}

// ---------------------------------------------------------------------------------------------------------- shrinking

namespace {

int weight_of(const NODE* root) {
    int weight = 0;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* n) {
        weight += 100 + ((n->flags & NODE_NO_WRAP) != 0 ? 1 : 0);
        if (n->op == ICON) {
            __int128 v = n->u.lval.to_wide();
            if (v < 0) v = -v, weight++;
            for (; v > 0; v >>= 1) weight++;
            if (kind_of_type(n->type) != K_W) weight++;
        }
        if (n->op == NAME && n->u.sym->word[1] < world.variables.size() && !n->type->is_func()) {
            const VARIABLE& v = world.variables[n->u.sym->word[1]];
            weight += v.is_volatile || v.kind == K_BLOCK ? 60 : v.is_local ? 1 : 30;
            if (is_scalar(v.kind) && !world.of_kind[v.kind].empty() &&
                world.of_kind[v.kind][0] != variable_of(n->u.sym))
                weight += 2;
            if (v.kind != K_W) weight += 3;
        }
        return true;
    });
    return weight;
}

struct SPOT {
    NODE** link;
    bool lvalue;
};

// The links of a tree below which a value or an lvalue stands.
void find_spots(NODE** link, bool lvalue, std::vector<SPOT>& spots) {
    NODE* n = *link;
    if (n == nullptr || n->op == FIELD || n->op == LABEL) return;
    bool is_list = n->op == COLON || n->op == COMMA || n->op == CASE || n->op == DEFAULT;
    if (!is_list) spots.push_back({link, lvalue});
    if (n->op == CASE || n->op == DEFAULT) return;
    if (opcode_is_call(n->op)) {
        if (n->op == CALL) find_spots(&n->right, false, spots);
        return;
    }
    bool left_is_lvalue = opcode_is_store(n->op) || n->op == UAND || n->op == STDOT;
    if (n->left != nullptr) find_spots(&n->left, left_is_lvalue, spots);
    if (n->right != nullptr && !opcode_is_increment(n->op)) find_spots(&n->right, n->op == STASG, spots);
}

NODE* as_kind(NODE* n, TYPE* type) {
    if (kind_of_type(n->type) == kind_of_type(type)) return n;
    return type->is_ptr() ? mk_PCONV(n, type) : mk_SCONV(n, type->type_qualified());
}

bool is_branch(const NODE* n) { return n->op == IF || n->op == SWITCH || n->op == NASSERT; }

// Variant number `choice` of the node at the link, made in place of it; false if there is no such variant.
bool vary(NODE** link, bool lvalue, bool is_root, int choice) {
    NODE* n = *link;
    KIND k = kind_of_type(n->type);
    auto replace = [&](NODE* by) {
        *link = by; // the rest of the old tree leaks; a shrinking run is short
        return true;
    };
    if (lvalue) {
        if (choice >= 2 || !is_scalar(k) || n->op == NAME || world.of_kind[k].empty()) return false;
        return replace(name_of(world.of_kind[k][static_cast<size_t>(choice) % world.of_kind[k].size()]));
    }
    switch (choice) {
    case 0:
    case 1: {
        NODE* by = choice == 0 ? n->left : n->right;
        if (by == nullptr || opcode_is_call(n->op)) return false;
        if (by->op == FIELD || by->op == COMMA || by->op == LABEL) return false;
        if (by->op == COLON) by = by->left;
        if (n->op == UAND || !is_scalar(kind_of_type(by->type))) return false;
        return replace(is_root ? by : as_kind(by, n->type));
    }
    case 2:
        if (n->op != QUEST) return false;
        return replace(n->right->right);
    case 3:
    case 4:
        if (!is_int_kind(k) || is_branch(n)) return false;
        return replace(mk_ICON(INT65(choice - 3), n->type->type_qualified()));
    case 5:
    case 6:
        if (!is_scalar(k) || is_branch(n) || world.of_kind[k].empty() || n->op == ICON) return false;
        if (kind_of_type(n->type) == K_P && n->type != world.type_of[K_P]) return false;
        return replace(name_of(world.of_kind[k][static_cast<size_t>(choice - 5) % world.of_kind[k].size()]));
    case 7:
        if ((n->flags & NODE_NO_WRAP) == 0) return false;
        n->flags = static_cast<uint8_t>(n->flags & ~NODE_NO_WRAP);
        return true;
    case 8:
    case 9:
    case 10:
    case 11:
    case 12: {
        if (n->op != ICON) return false;
        __int128 v = n->u.lval.to_wide();
        __int128 to = choice == 8    ? v / 2
                      : choice == 9  ? v - 1
                      : choice == 10 ? -v
                      : choice == 11 ? v & (v - 1)
                                     : v + 1;
        n->u.lval = truncate_to_type(INT65::from_wide(to), n->type);
        return true;
    }
    case 13: // through a conversion to its operand, where the operator takes any type
        if (n->op != SCONV || is_root) return false;
        return replace(n->left);
    case 14:
        if (n->op != ICON || k == K_W) return false;
        return replace(mk_ICON(n->u.lval, tp->int_type()));
    default: return false;
    }
}

constexpr int variants = 15;

} // namespace

NODE* shrink_tree(const NODE* tree, const std::function<bool(const NODE*)>& fails, double seconds) {
    NODE* best = copy_tree(tree);
    bool may_convert = has_implicit_conversions(tree);
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    auto late = [&] {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<double>(now.tv_sec - start.tv_sec) +
                   static_cast<double>(now.tv_nsec - start.tv_nsec) * 1e-9 >
               seconds;
    };
    for (bool progress = true; progress && !late();) {
        progress = false;
        std::vector<SPOT> spots;
        NODE* root = best;
        find_spots(&root, false, spots);
        size_t places = spots.size();
        for (size_t at = 0; at < places && !late(); at++)
            for (int choice = 0; choice < variants && !progress; choice++) {
                NODE* candidate = copy_tree(best);
                std::vector<SPOT> own;
                find_spots(&candidate, false, own);
                if (at >= own.size()) break;
                if (!vary(own[at].link, own[at].lvalue, at == 0, choice)) continue;
                if (weight_of(candidate) >= weight_of(best) || effects_of(candidate).conflict ||
                    (!may_convert && has_implicit_conversions(candidate)) || !CODE(candidate).unsupported().empty() ||
                    !fails(candidate))
                    continue;
                best = candidate;
                progress = true;
            }
    }
    return best;
}
