// Sharing of nodes, and the reporting of all checkers.
#include "cfg/validate.h"

#include "cfg/validate_int.h"
#include "ir/funinfo.h"
#include "ir/vars.h"

#include <cstdio>
#include <functional>

std::string op_text(const NODE* node) {
    std::string text = opname(node->op);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    if (node->op == NAME && node->u.sym != nullptr) text += std::string(" ") + node->u.sym->name;
    return text + "(" + std::to_string(node->op) + ")";
}

void FAULT_LIST::add(const NODE* node, const std::string& what) {
    if (full()) return;
    std::string text;
    if (bb_ != nullptr) text += "BB#" + std::to_string(bb_->serial) + " (dfn " + std::to_string(bb_->dfn) + "): ";
    if (stmt_ != nullptr && stmt_ != node) text += "in " + op_text(stmt_) + ": ";
    if (node != nullptr) text += "node " + op_text(node) + ": ";
    texts_.push_back(text + what);
}

namespace {

constexpr uint8_t reached = 0x80; // bit of NODE::flags, set only while a scan runs

template <typename F> void for_each_stmt_with_block(F&& visit) {
    FUNINFO* f = currfuninfo;
    for (LIST* cell = f->statements; cell != nullptr; cell = cell->rest) visit(nullptr, cell->first);
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) visit(bb, cell->first);
}

void scan_tree(NODE* root, FAULT_LIST& faults) {
    std::vector<NODE*> work{root};
    while (!work.empty()) {
        NODE* node = work.back();
        work.pop_back();
        if (node == nullptr) continue;
        if (node->op == ILLOP) {
            faults.add(node, "erased node");
            continue;
        }
        if (node->flags & reached) {
            faults.add(node, "reached a second time");
            continue;
        }
        node->flags |= reached;
        work.push_back(node->op != CSE_DUPE ? node->right : nullptr);
        work.push_back(node->left);
    }
}

void unmark_tree(NODE* root) {
    std::vector<NODE*> work{root};
    while (!work.empty()) {
        NODE* node = work.back();
        work.pop_back();
        if (node == nullptr || node->op == ILLOP || !(node->flags & reached)) continue;
        node->flags &= static_cast<uint8_t>(~reached);
        work.push_back(node->op != CSE_DUPE ? node->right : nullptr);
        work.push_back(node->left);
    }
}

void report(const char* step, const std::vector<std::string>& faults) {
    if (faults.empty()) return;
    std::string where = std::string(step != nullptr ? std::string("after step '") + step + "'" : "validation") +
                        ", function " + (currfunc != nullptr ? currfunc->name : "?");
    for (const std::string& fault : faults) {
        std::string line = "\n>>>> " + where + ": " + fault;
        fputs(line.c_str(), stderr);
        if (fdebug != nullptr) dprintf("%s", line.c_str());
    }
    fputs("\n", stderr);
    abort_optimizer("ERROR - the validators found a fault");
}

} // namespace

std::vector<std::string> sharing_faults() {
    FAULT_LIST faults;
    for_each_stmt_with_block([&](const BBLK* bb, NODE* stmt) {
        faults.at(bb, stmt->op == ILLOP ? nullptr : stmt);
        scan_tree(stmt, faults);
    });
    faults.at(nullptr, nullptr);
    if (currfuninfo->arg_tree != nullptr) scan_tree(currfuninfo->arg_tree, faults);
    for_each_stmt_with_block([&](const BBLK*, NODE* stmt) { unmark_tree(stmt); });
    unmark_tree(currfuninfo->arg_tree);
    return faults.take();
}

void validate_stmts() { report(nullptr, stmt_faults()); }
void validate_cfg() { report(nullptr, cfg_faults()); }
void scan_for_sharing() { report(nullptr, sharing_faults()); }
void validate_label_counts() { report(nullptr, label_count_faults()); }

void validate_function(const char* step) {
    if (currfuninfo == nullptr || (currfuninfo->bb_list == nullptr && currfuninfo->statements == nullptr)) return;
    report(step, sharing_faults()); // the others walk trees and rely on it
    if (currfuninfo->bb_list != nullptr) report(step, cfg_faults());
    report(step, stmt_faults());
}
