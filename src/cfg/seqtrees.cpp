#include "cfg/seqtrees.h"

#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <set>
#include <string>
#include <vector>

namespace {

class SEQUENCER {
  public:
    explicit SEQUENCER(FUNINFO* f) : f_(f), unused_label_(f->next_label) {}
    void run();

  private:
    void statement(NODE* stmt, PSN* psn);
    void conditional(NODE* cbranch, PSN* psn);
    void multiway(NODE* stmt, PSN* psn);
    void emit(NODE* stmt, PSN* psn) { out_ = mkelist(stmt, out_, psn); }
    void effects_of(NODE* tree, PSN* psn);
    NODE* hoist_COMMAOPs(NODE* value, PSN* psn);

    void check_number(const NODE* label) const;
    void want_label(const NODE* node, const char* what) const;

    FUNINFO* f_;
    int32_t unused_label_;     // generated numbers from here down were not in use at the start
    LIST* in_ = nullptr;       // source order, from the next statement on
    LIST* out_ = nullptr;      // last statement first
    bool prolog_seen_ = false; // the place where a prolog may stand is behind us
};

[[noreturn]] void malformed(const char* what) {
    std::string text = std::string("ERROR - malformed ") + what + " in the input";
    abort_optimizer(text.c_str());
}

// A number of the input is positive; a negative one was made by an earlier call.
void SEQUENCER::check_number(const NODE* label) const {
    int32_t number = static_cast<int32_t>(label->u.lval.low);
    if (number == 0 || number == -1 || (number < 0 && number <= unused_label_)) malformed("label number");
}

void SEQUENCER::want_label(const NODE* node, const char* what) const {
    if (node == nullptr || node->op != LABEL) malformed(what);
    check_number(node);
}

void give_int_type(NODE* node) {
    if (node->type == nullptr) node->type = tp->int_type();
}

// The parts of a COMMAOP or PCOMMA at the root as statements of their own.
void SEQUENCER::effects_of(NODE* tree, PSN* psn) {
    std::vector<NODE*> waiting{tree}; // the next part on top
    while (!waiting.empty()) {
        NODE* part = waiting.back();
        waiting.pop_back();
        if (part->op == COMMAOP || part->op == PCOMMA) {
            waiting.push_back(part->right);
            waiting.push_back(part->left);
            erase_node(part);
        } else
            emit(part, psn);
    }
}

// (a, b, c) as a value: a and b become statements, c is the value.
NODE* SEQUENCER::hoist_COMMAOPs(NODE* value, PSN* psn) {
    while (value != nullptr && value->op == COMMAOP) {
        NODE* last = value->right;
        effects_of(value->left, psn);
        erase_node(value);
        value = last;
    }
    return value;
}

// CBRANCH(c, L) goes to L when c is zero:  IF(c; next statement, L)
void SEQUENCER::conditional(NODE* cbranch, PSN* psn) {
    want_label(cbranch->right, "conditional branch");
    NODE* target = cbranch->right;
    NODE* cond = hoist_COMMAOPs(cbranch->left, psn);
    if (cond == nullptr) malformed("conditional branch");
    LS* scope = cbranch->scope;
    uint32_t profile =
        target->edge_profile_value != UINT32_MAX ? target->edge_profile_value : cbranch->edge_profile_value;
    erase_node(cbranch);
    give_int_type(target);

    if (cond->op == ICON) {
        bool falls_through = !cond->u.lval.is_zero();
        erase_node(cond);
        if (falls_through)
            erase_node(target);
        else
            emit(maketree(BRANCH, target, nullptr, tp->int_type(), scope), psn);
        return;
    }
    NODE* label_behind = nullptr;
    INT65 next;
    if (in_ != nullptr && in_->first->op == LABELDEF)
        next = in_->first->u.lval;
    else {
        next = INT65(f_->next_label--);
        label_behind = mktree(LABELDEF, nullptr, nullptr, tp->int_type(), nullptr, next);
        label_behind->scope = scope;
    }
    NODE* jump = mk_IF(cond, next, UINT32_MAX, target->u.lval, profile, scope);
    if (double p = target->probability(); p >= 0.0) {
        jump->right->right->set_probability(p);
        jump->right->left->set_probability(1.0 - p);
    }
    erase_node(target);
    emit(jump, psn);
    if (label_behind != nullptr) emit(label_behind, nullptr);
}

void SEQUENCER::multiway(NODE* stmt, PSN* psn) {
    if (stmt->left == nullptr || stmt->right == nullptr) malformed("SWITCH");
    stmt->left = hoist_COMMAOPs(stmt->left, psn);
    std::vector<NODE*> entries = comma_list(stmt->right);
    for (NODE* chain = stmt->right; chain->op == COMMA;) { // the cells; their operands are in `entries`
        if (chain->right->op == COMMA) malformed("SWITCH");
        NODE* next = chain->left;
        erase_node(chain);
        chain = next;
    }
    NODE* otherwise = nullptr;
    NODE* list = nullptr;
    uint32_t cases = 0;
    std::set<INT65> seen;
    auto append = [&](NODE* entry) {
        list = list == nullptr ? entry : maketree(COMMA, list, entry, tp->int_type(), stmt->scope);
    };
    for (NODE* entry : entries) {
        give_int_type(entry);
        if (entry->op == DEFAULT && otherwise == nullptr) {
            want_label(entry->left, "SWITCH");
            give_int_type(entry->left);
            otherwise = entry;
            continue;
        }
        if (entry->op != CASE || entry->left == nullptr || entry->left->op != ICON) malformed("SWITCH");
        want_label(entry->right, "SWITCH");
        give_int_type(entry->right);
        if (!seen.insert(entry->left->u.lval).second) { // an equal value stands in front of it
            erase_tree(entry);
            continue;
        }
        append(entry);
        cases++;
    }
    give_int_type(stmt);
    if (cases == 0) { // a DEFAULT alone
        NODE* target = otherwise->left;
        NODE* selector = stmt->left;
        LS* scope = stmt->scope;
        erase_node(otherwise);
        erase_node(stmt);
        if (tree_has_side_effects(selector))
            emit(selector, psn);
        else
            erase_tree(selector);
        emit(maketree(BRANCH, target, nullptr, tp->int_type(), scope), psn);
        return;
    }
    if (otherwise != nullptr) append(otherwise);
    stmt->right = list;
    stmt->u.lval = INT65(cases);
    emit(stmt, psn);
}

void SEQUENCER::statement(NODE* stmt, PSN* psn) {
    switch (stmt->op) {
    case COMMAOP:
    case PCOMMA: effects_of(stmt, psn); return;
    case CBRANCH: conditional(stmt, psn); return;
    case SWITCH: multiway(stmt, psn); return;
    case BRANCH:
        want_label(stmt->left, "branch");
        give_int_type(stmt);
        give_int_type(stmt->left);
        break;
    case LABELDEF: check_number(stmt); break;
    case RETURN: stmt->right = hoist_COMMAOPs(stmt->right, psn); break;
    default: break;
    }
    emit(stmt, psn);
}

void SEQUENCER::run() {
    in_ = reverse_list(f_->statements);
    f_->statements = nullptr;
    while (in_ != nullptr) {
        LIST* cell = in_;
        in_ = cell->rest;
        NODE* stmt = cell->first;
        if (!prolog_seen_ && stmt->op != PPRAGMA && stmt->op != ASM) {
            prolog_seen_ = true;
            if (tree_is_arg_prolog(stmt)) {
                cell->rest = out_;
                out_ = cell;
                continue;
            }
        }
        PSN* psn = cell->psn;
        delete cell;
        statement(stmt, psn);
    }
    f_->statements = out_;
}

} // namespace

void seq_trees() { SEQUENCER(currfuninfo).run(); }
