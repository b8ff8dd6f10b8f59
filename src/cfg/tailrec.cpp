// Tail calls of a function to itself become a jump to the code behind the argument prolog.
//
//     int f(int a, int b) {                    int f(int a, int b) {
//         if (a == 0) return b;          ->    again:  if (a == 0) return b;
//         return f(a - 1, a + b);                      t = a - 1;  b = a + b;  a = t;  goto again;
//     }                                        }
//
// Why:    no call, no frame, and a loop that the loop passes can see.
// Needs:  blocks with bound labels and `succs`; the prolog as the first statement.
// Skips:  level below 2; functions of another language, interrupts, variadic functions, functions with an exception
//         table; functions that take the address of a local: what a local held at the call must not be overwritten
//         while the address is still in use; functions that call setjmp: longjmp may come back to an activation that
//         would have become a later one.
// Cost:   one look at the end of each block; one walk over the trees if there is a candidate; assignments are ordered
// in
//         time square to the number of parameters.
#include "cfg/bbutils.h"
#include "cfg/buildcfg.h"
#include "ir/infix.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>
#include <vector>

namespace {

// One assignment target = value of a set that is to take effect at once.
struct PARALLEL_ASG {
    NODE* asg; // owned
    bool done = false;
    bool saved = false; // the value is a temporary that holds it
    NODE* target() const { return asg->left; }
    NODE*& value() const { return asg->right; }
};

class TAIL_RECURSION {
  public:
    explicit TAIL_RECURSION(FUNINFO* f) : f_(f) {}
    void run();

  private:
    bool allowed() const;
    LIST* tail_call_cell(BBLK* bb) const;
    NODE* call_of(NODE* stmt) const;
    bool is_self_call(const NODE* call) const;
    bool match(NODE* call, std::vector<PARALLEL_ASG>& asgs) const;
    void order(std::vector<PARALLEL_ASG>& asgs, LIST*& out, PSN* psn) const;
    void save_in_temp(PARALLEL_ASG& asg, LIST*& out, PSN* psn) const;
    void replace(BBLK* bb, LIST* cell, std::vector<PARALLEL_ASG>& asgs);
    BBLK* code_behind_prolog();

    FUNINFO* f_;
    BBLK* target_ = nullptr; // made with the first replacement
    int known_address_ = -1; // whether a local's address is taken; -1 not known yet
    bool local_address_taken();
};

// ------------------------------------------------------------------------------------------------------ preconditions

bool chain_has_varargs(const SYMTAB* chain) {
    for (; chain != nullptr; chain = chain->next)
        if (chain->sclass == SC_PARM_VARARGS || chain->sclass_at_creation == SC_PARM_VARARGS) return true;
    return false;
}

bool TAIL_RECURSION::allowed() const {
    if (opt_level() < 2 || (f_->flags & (FUN_is_cpp | FUN_is_interrupt)) || f_->has_local_address) return false;
    if (f_->eht != nullptr || currfunc == nullptr) return false;
    return !chain_has_varargs(f_->locals) && !chain_has_varargs(f_->memory_locals) &&
           !chain_has_varargs(f_->scalar_locals);
}

// Whether the node gives away where a parameter or an automatic local lives. setjmp keeps the whole activation.
bool exposes_local(const NODE* node) {
    if (node->op == NAME && node->u.sym != nullptr && node->u.sym->level == 0)
        return strcmp(node->u.sym->name, "_setjmp") == 0;
    if (node->op != UAND && node->op != ARGREF && node->op != NAME) return false;
    const NODE* object = node;
    if (node->op == NAME) {
        if (node->type == nullptr || !node->type->is_array()) return false; // an array stands for its address
    } else
        object = node->left;
    while (object != nullptr && (object->op == STDOT || object->op == COMMAOP || object->op == DDNODE))
        object = object->op == COMMAOP ? object->right : object->left;
    if (object == nullptr || object->op != NAME || object->u.sym == nullptr) return false;
    return object->u.sym->level > 0 && object->u.sym->sclass != SC_STATIC;
}

bool TAIL_RECURSION::local_address_taken() {
    if (known_address_ >= 0) return known_address_ != 0;
    bool taken = false;
    std::vector<const NODE*> work;
    for (BBLK* bb = f_->uo_list; bb != nullptr; bb = bb->uolink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
            work.push_back(cell->first);
            while (!work.empty()) {
                const NODE* node = work.back();
                work.pop_back();
                taken |= exposes_local(node);
                if (node->left != nullptr) work.push_back(node->left);
                if (node->right != nullptr && node->op != CSE_DUPE) work.push_back(node->right);
            }
        }
    known_address_ = taken;
    return taken;
}

bool TAIL_RECURSION::is_self_call(const NODE* call) const {
    if (call == nullptr || (call->op != CALL && call->op != UCALL)) return false;
    if (call->u.call.eht_id != 0 || (call->op == CALL && !call->u.lval.is_zero())) return false;
    const NODE* callee = call->left;
    return callee->op == UAND && callee->left->op == NAME && callee->left->u.sym == currfunc;
}

bool only_returns(const BBLK* bb, const BBLK* exit) {
    const NODE* first = bb->stmts->first;
    return first->op == URETURN || (first->op == BRANCH && first->left->lbl->bb == exit);
}

// The statement of the block that holds a tail call of the function to itself, or null.
LIST* TAIL_RECURSION::tail_call_cell(BBLK* bb) const {
    if (bb->succs != nullptr && bb->succs->next != nullptr) return nullptr;
    LIST *last = bb->stmts, *before = nullptr;
    for (; last->rest != nullptr; last = last->rest) before = last;
    if (last->first->op == RETURN) return bb->succs == nullptr && is_self_call(last->first->right) ? last : nullptr;
    if (last->first->op != BRANCH || before == nullptr || !is_self_call(before->first)) return nullptr;
    return only_returns(bb->succs->bb, f_->exit_block) ? before : nullptr;
}

// ------------------------------------------------------------------------------------------------------------ matching

// The link of the NAME of the parameter in an assignment of the prolog.
NODE** parameter_slot(NODE* asg) {
    NODE** slot = &asg->right;
    while ((*slot)->op != NAME) slot = &(*slot)->left;
    return slot;
}

// The argument as a value: a struct by its object, a converted argument by a plain conversion. Null if it is passed in
// another way.
NODE* copy_of_actual(NODE* actual) {
    if (actual->op == ARGREF) return nullptr;
    NODE* value = copy_tree(actual->op == STARG ? actual->left : actual);
    if (value->op == ACONV) value->op = value->type->is_ptr() ? PCONV : SCONV;
    return value;
}

// Pairs the assignments of the prolog with the arguments. The caller erases what was made when the match fails.
bool TAIL_RECURSION::match(NODE* call, std::vector<PARALLEL_ASG>& asgs) const {
    NODE* prolog = stmt_is_arg_prolog(f_->bb_list->stmts) ? f_->bb_list->stmts->first : nullptr;
    NODE* arguments = get_arguments_to_call(call);
    if (prolog == nullptr || arguments == nullptr) return prolog == nullptr && arguments == nullptr;
    std::vector<NODE*> actuals = comma_list(arguments);
    std::vector<NODE*> formals; // the assignments, last first
    NODE* chain = prolog;
    for (; chain->op == PCOMMA; chain = chain->left) formals.push_back(chain->right);
    formals.push_back(chain);
    if (formals.size() != actuals.size()) return false;
    uint32_t i = 0;
    for (auto formal = formals.rbegin(); formal != formals.rend(); ++formal, ++i) {
        if ((*formal)->op != ASG && (*formal)->op != STASG) return false;
        SYMTAB* parameter = (*parameter_slot(*formal))->u.sym;
        if (parameter->sequence != i && parameter->sequence != 0) return false; // one is missing in front of it
        TYPE* given = actuals[i]->op == STARG ? actuals[i]->left->type : actuals[i]->type;
        if (given == nullptr || !compatible_types(parameter->type, given, false)) return false;
        NODE* value = copy_of_actual(actuals[i]);
        if (value == nullptr) return false;
        NODE* asg = copy_tree(*formal);
        NODE** slot = parameter_slot(asg);
        erase_node(*slot);
        *slot = value;
        asgs.push_back({asg});
    }
    return true;
}

// ------------------------------------------------------------------------------------------------------------ ordering

bool has_indirection(const NODE* tree) {
    std::vector<const NODE*> work{tree};
    while (!work.empty()) {
        const NODE* node = work.back();
        work.pop_back();
        if (node->op == UMULT || node->op == STREF || node->op == MEMCPY) return true;
        if (node->left != nullptr) work.push_back(node->left);
        if (node->right != nullptr) work.push_back(node->right);
    }
    return false;
}

bool reads(const PARALLEL_ASG& reader, const PARALLEL_ASG& writer) {
    const SYMTAB* sym = writer.target()->u.sym;
    return sym_appears_in_tree(sym, reader.value()) || (sym->aliased() && has_indirection(reader.value()));
}

// temp = value, in front of all that is written so far; the assignment takes temp.
void TAIL_RECURSION::save_in_temp(PARALLEL_ASG& asg, LIST*& out, PSN* psn) const {
    NODE*& value = asg.value();
    SYMTAB* temp = sym_temp('T', -1, value->type->type_qualified(), nullptr);
    LIST* save = mkelist(mk_ASG(mk_NAME(temp, value->scope), value), nullptr, psn);
    value = mk_NAME(temp, save->first->scope);
    asg.saved = true;
    save->rest = out;
    out = save;
}

bool is_self_assignment(const PARALLEL_ASG& asg) {
    return asg.value()->op == NAME && asg.value()->u.sym == asg.target()->u.sym && !asg.target()->type->is_volatile();
}

// Gives statements, last first, that have the effect of all assignments at once. An assignment may go when no other one
// that is still to come reads its target; where that stops, one value is saved in a temporary.
void TAIL_RECURSION::order(std::vector<PARALLEL_ASG>& asgs, LIST*& out, PSN* psn) const {
    bool side_effects = false;
    for (const PARALLEL_ASG& asg : asgs) side_effects |= tree_has_side_effects(asg.value());
    size_t left = asgs.size();
    if (side_effects) // the values in the order of the arguments, before anything is overwritten
        for (PARALLEL_ASG& asg : asgs)
            if (!expr_is_constant(asg.value())) save_in_temp(asg, out, psn);
    while (left > 0) {
        bool progress = false;
        for (PARALLEL_ASG& asg : asgs) {
            if (asg.done) continue;
            bool blocked = false;
            for (const PARALLEL_ASG& other : asgs)
                if (&other != &asg && !other.done && reads(other, asg)) blocked = true;
            if (blocked) continue;
            asg.done = progress = true;
            left--;
            if (is_self_assignment(asg))
                erase_tree(asg.asg);
            else
                out = mkelist(asg.asg, out, psn);
        }
        if (progress) continue;
        for (PARALLEL_ASG& asg : asgs) // a cycle: one more value is saved, until a target is free
            if (!asg.done && !asg.saved) {
                save_in_temp(asg, out, psn);
                break;
            }
    }
}

// ----------------------------------------------------------------------------------------------------------- replacing

// Where a call of the function goes on when its arguments are in place.
BBLK* TAIL_RECURSION::code_behind_prolog() {
    BBLK* first = f_->bb_list;
    if (!stmt_is_arg_prolog(first->stmts)) return first;
    NODE* next = first->stmts->rest->first;
    if (next->op == BRANCH) return next->left->lbl->bb;
    return split_block(first, first->stmts, true);
}

void TAIL_RECURSION::replace(BBLK* bb, LIST* cell, std::vector<PARALLEL_ASG>& asgs) {
    PSN* psn = cell->psn;
    if (print_debug)
        dprintf("\n  ===> Tail recursive self-call removed at line %ld: %s\n\n",
                psn != nullptr ? static_cast<long>(psn->line) : 0L, stmt2infix(cell->first).c_str());
    if (target_ == nullptr) {
        target_ = code_behind_prolog();
        target_->preds = erase_edge_list(target_->preds); // predecessors are found later, for all blocks at once
    }
    auto find_link = [&] {
        LIST** link = &bb->stmts;
        while (*link != nullptr && *link != cell) link = &(*link)->rest;
        return link;
    };
    LIST** link = find_link();
    if (*link == nullptr) { // the first block was split, and the call moved with what stands behind the prolog
        bb = target_;
        link = find_link();
    }
    LS* scope = cell->first->scope;
    LIST* statements = nullptr; // last first
    if (source_interlist)
        statements = mkelist(mk_ASM(47, (stmt2infix(cell->first) + "  return;").c_str(), scope), statements, psn);
    order(asgs, statements, psn);
    statements = mkelist(mk_ASM(47, "***\t; tail recursive call occurs here", scope), statements, psn);
    statements = mkelist(mk_BRANCH(target_, scope), statements, psn);
    erase_tree_list(*link);
    *link = reverse_list(statements);
    bb->succs = mkedge(target_, erase_edge_list(bb->succs));
}

void TAIL_RECURSION::run() {
    if (!allowed()) return;
    for (BBLK *bb = f_->uo_list, *next; bb != nullptr; bb = next) {
        next = bb->uolink;
        if (bb == f_->exit_block) continue;
        LIST* cell = tail_call_cell(bb);
        if (cell == nullptr || local_address_taken()) continue;
        NODE* call = cell->first->op == RETURN ? cell->first->right : cell->first;
        std::vector<PARALLEL_ASG> asgs;
        if (match(call, asgs))
            replace(bb, cell, asgs);
        else
            for (PARALLEL_ASG& asg : asgs) erase_tree(asg.asg);
    }
    int n = 0;
    for (BBLK* bb = f_->uo_list; bb != nullptr; bb = bb->uolink) bb->uon = ++n;
}

} // namespace

void remove_tail_recursion() { TAIL_RECURSION(currfuninfo).run(); }
