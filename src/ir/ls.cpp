#include "ir/ls.h"

#include "ir/funinfo.h"
#include "ir/node.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <vector>

namespace {

// Visits the scopes of a tree, a scope before its children, children in order of opening.
template <typename F> void for_each_scope(LS* root, F&& visit) {
    std::vector<LS*> stack{root};
    std::vector<LS*> children;
    while (!stack.empty()) {
        LS* scope = stack.back();
        stack.pop_back();
        children.clear();
        for (LS* child = scope->child; child != nullptr; child = child->sibling) children.push_back(child);
        stack.insert(stack.end(), children.rbegin(), children.rend());
        visit(scope);
    }
}

void erase_symlist(SYMLIST* list) {
    while (list != nullptr) {
        SYMLIST* next = list->next;
        delete list;
        list = next;
    }
}

void print_symlist(FILE* to, int indent, const char* title, const SYMLIST* list) {
    if (list == nullptr) return;
    fprintf(to, "%*s%s:", indent, "", title);
    for (; list != nullptr; list = list->next) fprintf(to, " %s", list->symbol->name);
    fputc('\n', to);
}

LS* nth_scope(LS* root, uint32_t level) {
    OPTASSERT(root != nullptr && root->parent == nullptr && root->level == 0);
    LS* scope = root;
    while (scope != nullptr && scope->level < level) scope = scope->child;
    OPTASSERT(scope != nullptr);
    return scope;
}

} // namespace

LS* LS_open(FUNINFO* f) {
    LS* scope = new LS;
    scope->function = f->symbol;
    LS* parent = f->scope_cursor;
    f->scope_cursor = scope;
    if (parent == nullptr) {
        f->scopes = scope;
        f->scope_count = f->scope_depth = 1;
        return scope;
    }
    scope->parent = parent;
    scope->level = parent->level + 1;
    scope->number = f->scope_count++;
    if (f->scope_depth < scope->level + 1) f->scope_depth = scope->level + 1;
    if (parent->last_child != nullptr)
        parent->last_child->sibling = scope;
    else
        parent->child = scope;
    parent->last_child = scope;
    return scope;
}

void LS_close(FUNINFO* f, PSN* end) {
    OPTASSERT(f->scope_cursor != nullptr);
    f->scope_cursor->end_psn = end;
    f->scope_cursor = f->scope_cursor->parent;
}

LS* LS_level_0_scope(LS* root) { return nth_scope(root, 0); }
LS* LS_level_1_scope(LS* root) { return nth_scope(root, 1); }
LS* LS_level_2_scope(LS* root) { return nth_scope(root, 2); }

void LS_add_symbol(LS* scope, SYMTAB* sym) {
    if (scope == nullptr) return;
    sym->scope = scope;
    if (is_internal_symbol(sym)) return;
    if (sym->type->is_ptr() || sym->type->is_ref())
        scope->pointer_syms = mk_symlist(sym, scope->pointer_syms);
    else if (scope->level <= 2)
        return;
    else if (sym->type->is_csu())
        scope->csu_syms = mk_symlist(sym, scope->csu_syms);
    else if (sym->type->is_array())
        scope->array_syms = mk_symlist(sym, scope->array_syms);
    else
        scope->other_syms = mk_symlist(sym, scope->other_syms);
}

void LS_remove_symbol(SYMTAB* sym) {
    LS* scope = sym->scope;
    if (scope == nullptr) return;
    for (SYMLIST** list : {&scope->pointer_syms, &scope->csu_syms, &scope->array_syms, &scope->other_syms})
        *list = remove_sym_from_symlist(sym, *list);
    sym->scope = nullptr;
}

void LS_initialize_scopes_and_ptrs_from_tree(LS* scope, NODE* tree) {
    // Operand pairs wait on the stack, chains by either operand are followed in the loop.
    std::vector<NODE*> waiting;
    for (NODE* node = tree;;) {
        if (node == nullptr) {
            if (waiting.empty()) return;
            node = waiting.back();
            waiting.pop_back();
        }
        if (node->scope == nullptr) node->scope = scope;
        NODE* right = node->op == CSE_DUPE ? nullptr : node->right;
        if (node->left != nullptr && right != nullptr) waiting.push_back(right);
        node = node->left != nullptr ? node->left : right;
    }
}

bool LS_validate(LS* root) {
    if (root == nullptr) return true;
    bool good = root->parent == nullptr && root->level == 0;
    std::vector<bool> seen;
    for_each_scope(root, [&](LS* scope) {
        if (scope->number >= seen.size()) seen.resize(scope->number + 1);
        if (seen[scope->number]) good = false;
        seen[scope->number] = true;
        for (LS* child = scope->child; child != nullptr; child = child->sibling) {
            if (child->parent != scope || child->level != scope->level + 1) good = false;
            if (child->sibling == nullptr && child != scope->last_child) good = false;
        }
    });
    return good;
}

void LS_print(LS* root, FILE* to) {
    if (root == nullptr || to == nullptr) return;
    for_each_scope(root, [&](LS* scope) {
        int indent = 2 * static_cast<int>(scope->level);
        fprintf(to, "%*sscope %u level %u", indent, "", scope->number, scope->level);
        if (scope->function != nullptr) fprintf(to, " of %s", scope->function->name);
        if (scope->end_psn != nullptr) fprintf(to, ", ends at line %u", scope->end_psn->line);
        fputc('\n', to);
        print_symlist(to, indent + 4, "pointers", scope->pointer_syms);
        print_symlist(to, indent + 4, "structs", scope->csu_syms);
        print_symlist(to, indent + 4, "arrays", scope->array_syms);
        print_symlist(to, indent + 4, "others", scope->other_syms);
    });
}

void LS_erase(LS* root) {
    if (root == nullptr) return;
    std::vector<LS*> all;
    for_each_scope(root, [&](LS* scope) { all.push_back(scope); });
    for (LS* scope : all) {
        for (SYMLIST* list : {scope->pointer_syms, scope->csu_syms, scope->array_syms, scope->other_syms})
            erase_symlist(list);
        delete scope;
    }
}
