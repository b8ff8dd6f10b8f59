// What must remain of a tree whose value is not used.
#include "simp/fold.h"
#include "simp/simp_int.h"

#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

// How deep && , || and ?: may nest in right operands before the rest is kept whole.
constexpr int max_nesting = 40;

int nesting = 0;

bool has_no_effect(NODE* call) {
    const NODE* callee = get_callee_for_call(call);
    if (callee == nullptr || callee->op != NAME || callee->u.sym == nullptr) return false;
    const FUNINFO* info = find_FUNINFO_for_symbol(callee->u.sym);
    return info != nullptr && (info->flags & FUN_is_pure_fun) && !(info->flags & FUN_never_returns);
}

// An access that must happen: of a volatile object, or of a member of one.
bool is_kept_read(const NODE* lvalue) {
    for (;; lvalue = lvalue->left) {
        if (lvalue->type != nullptr && lvalue->type->is_volatile()) return true;
        if (lvalue->op == NAME) return lvalue->u.sym != nullptr && (lvalue->u.sym->scqual & CQ_VOLATILE);
        if (lvalue->op != STDOT) return false;
    }
}

// Takes a tree apart from the top, in the order of evaluation, and gathers what has an effect.
class PEELER {
  public:
    NODE* run(NODE* tree) {
        visit(tree);
        while (!work_.empty()) {
            ITEM item = work_.back();
            work_.pop_back();
            if (item.address_only)
                peel_address(item.tree);
            else
                peel(item.tree);
        }
        return effects_;
    }

  private:
    struct ITEM {
        NODE* tree;
        bool address_only; // an lvalue of which only the address is wanted
    };

    void visit(NODE* tree, bool address_only = false) {
        if (tree != nullptr) work_.push_back({tree, address_only});
    }

    // Drops the node and goes on with its operands.
    void open(NODE* tree) {
        visit(tree->right);
        visit(tree->left);
        erase_node(tree);
    }

    void keep(NODE* tree) { effects_ = join_effects(effects_, tree); }

    // A node with peeled operands. What it simplifies to may have less of an effect.
    void settle(NODE* tree) {
        int op = tree->op;
        tree = simp_node(tree);
        if (tree->op == op || resettled_++ >= max_resettled)
            keep(tree);
        else
            visit(tree);
    }

    void peel(NODE* tree);
    void peel_address(NODE* lvalue);
    void peel_increment(NODE* tree);
    void peel_logical(NODE* tree);
    void peel_quest(NODE* tree);

    static constexpr int max_resettled = 20;
    int resettled_ = 0;
    std::vector<ITEM> work_;
    NODE* effects_ = nullptr;
};

// Only the address is computed: &*p is p, &s.m goes to &s; a name has nothing to compute.
void PEELER::peel_address(NODE* lvalue) {
    switch (lvalue->op) {
    case STDOT:
        visit(lvalue->left, true);
        erase_tree(lvalue->right);
        erase_node(lvalue);
        break;
    case NAME: erase_node(lvalue); break;
    case UMULT: open(lvalue); break;
    case STREF:
        visit(lvalue->left);
        erase_tree(lvalue->right);
        erase_node(lvalue);
        break;
    case COMMAOP:
        visit(lvalue->right, true);
        visit(lvalue->left);
        erase_node(lvalue);
        break;
    default: peel(lvalue); break;
    }
}

// x++  ->  x += 1
void PEELER::peel_increment(NODE* tree) {
    int op = tree->op == PLUSPLUS ? PLUSASG : MINUSASG;
    keep(simp_node(remake(tree, op, tree->left, tree->right, tree->type)));
}

// An effect as the operand of an operator that wants a scalar.
NODE* as_operand(NODE* effect) {
    return is_scalar_value(effect->type) ? effect : mk_COMMAOP(effect, mk_ICON(0, tp->int_type()));
}

// a && b without effect in b  ->  a;  else the effect stands for b
void PEELER::peel_logical(NODE* tree) {
    if (nesting >= max_nesting) return keep(tree);
    NODE* effect = peel_for_effect(tree->right);
    if (effect != nullptr) {
        tree->right = as_operand(effect);
        return settle(tree);
    }
    visit(tree->left);
    erase_node(tree);
}

// c ? a : b  ->  c ? effect of a : effect of b. An arm with nothing left becomes 0, for a ?: has two arms.
void PEELER::peel_quest(NODE* tree) {
    NODE* arms = tree->right;
    if (nesting >= max_nesting || arms == nullptr || arms->op != COLON) return keep(tree);
    NODE* if_true = peel_for_effect(arms->left);
    NODE* if_false = peel_for_effect(arms->right);
    if (if_true == nullptr && if_false == nullptr) {
        visit(tree->left);
        erase_node(arms);
        erase_node(tree);
        return;
    }
    TYPE* type = tp->int_type();
    auto as_arm = [&](NODE* effect) {
        NODE* zero = mk_ICON(0, type);
        return effect != nullptr && effect->type == type ? (erase_node(zero), effect) : mk_COMMAOP(effect, zero);
    };
    arms->left = as_arm(if_true);
    arms->right = as_arm(if_false);
    arms->type = arms->orig_type = type;
    settle(remake(tree, QUEST, tree->left, arms, type));
}

void PEELER::peel(NODE* tree) {
    switch (tree->op) {
    case PLUSPLUS:
    case MINMIN: return peel_increment(tree);
    case ASG:
        if (tree_is_arg_prolog(tree) || !trees_are_congruent(tree->left, tree->right)) return keep(tree);
        erase_tree(tree); // congruent sides have no effect and are not volatile
        return;
    case CALL:
    case UCALL:
        if (!has_no_effect(tree)) return keep(simp_unused_call(tree));
        erase_tree(tree->left);
        visit(tree->right);
        erase_node(tree);
        return;
    case COMMAOP:
        // What stands in front was reduced to its effects when it got there.
        keep(tree->left);
        visit(tree->right);
        erase_node(tree);
        return;
    case ANDAND:
    case OROR: return peel_logical(tree);
    case QUEST: return peel_quest(tree);
    case NAME:
        if (is_kept_read(tree)) return keep(tree);
        erase_node(tree);
        return;
    case STDOT:
    case STREF:
        if (is_kept_read(tree)) return keep(tree);
        visit(tree->left);
        erase_tree(tree->right);
        erase_node(tree);
        return;
    case UMULT:
        if (is_kept_read(tree)) return keep(tree);
        return open(tree);
    case UAND:
    case ARGREF:
        visit(tree->left, true);
        erase_node(tree);
        return;
    case CSE_DUPE:
    case CSE_ORIG: return keep(tree);
    default:
        if (side_effects[tree->op & 255]) return keep(tree);
        return open(tree);
    }
}

class NESTING {
  public:
    NESTING() { nesting++; }
    ~NESTING() { nesting--; }
};

} // namespace

NODE* peel_for_effect(NODE* tree) {
    NESTING deeper;
    return PEELER().run(tree);
}
