#include "cfg/terminators.h"

#include "cfg/bbutils.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

namespace {

// Erases the cells of a COMMA list, not what they hold.
void erase_comma_cells(NODE* list) {
    while (list->op == COMMA) {
        NODE* next = list->left;
        erase_node(list);
        list = next;
    }
}

NODE* make_comma_list(const std::vector<NODE*>& items, LS* scope) {
    NODE* list = items.front();
    for (size_t i = 1; i < items.size(); i++) list = maketree(COMMA, list, items[i], tp->int_type(), scope);
    return list;
}

bool repair_missing_DEFAULT(NODE* stmt) {
    NODE* last = stmt->right->op == COMMA ? stmt->right->right : stmt->right;
    if (last->op == DEFAULT) return false;
    NODE* otherwise = maketree(DEFAULT, copy_tree(last->right), nullptr, tp->int_type(), stmt->scope);
    stmt->right = maketree(COMMA, stmt->right, otherwise, tp->int_type(), stmt->scope);
    return true;
}

// The LABEL that an IF or SWITCH goes to in any case, or null.
NODE* only_way(NODE* stmt) {
    if (stmt->op == IF) {
        if (stmt->left->op == ICON) return stmt->left->u.lval.is_zero() ? if_false_label(stmt) : if_true_label(stmt);
        return if_true_bb(stmt) == if_false_bb(stmt) ? if_true_label(stmt) : nullptr;
    }
    std::vector<NODE*> entries = comma_list(stmt->right);
    if (stmt->left->op == ICON) {
        for (NODE* entry : entries)
            if (entry->op == CASE && entry->left->u.lval == stmt->left->u.lval) return entry->right;
        return entries.back()->left;
    }
    BBLK* far = entries.back()->left->lbl->bb;
    for (NODE* entry : entries)
        if (case_label(entry)->lbl->bb != far) return nullptr;
    return entries.back()->left;
}

} // namespace

bool fold_terminator(LIST**& link) {
    NODE* stmt = (*link)->first;
    if (stmt->op != IF && stmt->op != SWITCH) return false;
    bool changed = stmt->op == SWITCH && repair_missing_DEFAULT(stmt);
    NODE* way = only_way(stmt);
    if (way == nullptr) return changed;
    NODE* value = stmt->left;
    NODE* target = copy_tree(way);
    target->hint = 0;
    target->set_probability(-1.0);
    LS* scope = stmt->scope;
    erase_tree(stmt->right);
    stmt->left = stmt->right = nullptr;
    erase_node(stmt);
    (*link)->first = maketree(BRANCH, target, nullptr, tp->int_type(), scope);
    if (tree_has_side_effects(value))
        link = promote_tree(value, link, (*link)->psn);
    else
        erase_tree(value);
    return true;
}

bool drop_default_cases(NODE* stmt) {
    bool changed = repair_missing_DEFAULT(stmt);
    std::vector<NODE*> entries = comma_list(stmt->right);
    BBLK* elsewhere = entries.back()->left->lbl->bb;
    std::vector<NODE*> kept;
    std::set<INT65> seen;
    for (NODE* entry : entries)
        if (entry->op == DEFAULT || (seen.insert(entry->left->u.lval).second && entry->right->lbl->bb != elsewhere))
            kept.push_back(entry);
    if (kept.size() == entries.size()) return changed;
    erase_comma_cells(stmt->right);
    size_t next = 0;
    for (NODE* entry : entries)
        if (next < kept.size() && kept[next] == entry)
            next++;
        else
            erase_tree(entry);
    stmt->right = make_comma_list(kept, stmt->scope);
    stmt->u.lval = INT65(static_cast<uint32_t>(kept.size() - 1));
    return true;
}

bool single_case_to_IF(LIST* cell) {
    NODE* stmt = cell->first;
    std::vector<NODE*> entries = comma_list(stmt->right);
    if (entries.size() != 2) return false;
    NODE* selector = stmt->left;
    NODE* value = entries[0]->left;
    if (!equiv_mtypes(selector->type, value->type)) {
        TYPE* type = combined_type(selector, value);
        if (!equiv_mtypes(selector->type, type)) selector = mk_SCONV(selector, type);
        value->type = type;
        value->u.lval = truncate_to_type(value->u.lval, type);
    }
    NODE* cond = maketree(EQ, selector, value, tp->int_type(), stmt->scope);
    NODE *hit = entries[0]->right, *miss = entries[1]->left;
    NODE* jump = mk_IF(cond, hit->u.lval, hit->edge_profile_value, miss->u.lval, miss->edge_profile_value, stmt->scope);
    if_true_label(jump)->lbl = hit->lbl;
    if_false_label(jump)->lbl = miss->lbl;
    entries[0]->left = nullptr; // taken over
    stmt->left = nullptr;
    erase_tree(stmt);
    cell->first = jump;
    return true;
}

// Long lists (the targets of a SWITCH) are looked up through a table; the order is that of the labels.
void update_succs(BBLK* bb) {
    constexpr size_t linear_limit = 8;
    std::vector<BBLK*> targets;
    std::unordered_map<BBLK*, double> old;
    for (EDGE* edge = bb->succs; edge != nullptr; edge = edge->next) old.emplace(edge->bb, edge->probability);
    std::unordered_map<BBLK*, int> seen;
    for_each_target(terminator_of(bb), [&](NODE* label) {
        BBLK* far = label->lbl->bb;
        if (targets.size() <= linear_limit) {
            if (std::find(targets.begin(), targets.end(), far) != targets.end()) return;
            targets.push_back(far);
            if (targets.size() > linear_limit)
                for (BBLK* known : targets) seen.emplace(known, 1);
        } else if (seen.emplace(far, 1).second)
            targets.push_back(far);
    });
    bb->succs = erase_edge_list(bb->succs);
    for (BBLK* far : targets) {
        bb->succs = mkedge(far, bb->succs);
        auto known = old.find(far);
        if (known != old.end() && targets.size() == old.size()) bb->succs->probability = known->second;
    }
    graph_changed();
}
