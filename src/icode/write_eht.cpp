#include "icode/write_eht.h"

#include "icode/if.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/vars.h"

#include <vector>

namespace {

struct TABLE {
    EHT_ENTRY* entry;
    uint32_t count;
    std::vector<bool> used, keep;
    std::vector<NODE*> calls; // those with an entry
};

// Entry 0 is the root; 0 and 1 always count as used.
void collect_calls(TABLE& t) {
    auto collect = [&t](NODE* tree) {
        walk_tree(tree, [&t](NODE* node) {
            if ((node->op != CALL && node->op != UCALL) || node->u.call.eht_id == 0) return;
            OPTASSERT(node->u.call.eht_id < t.count);
            t.calls.push_back(node);
        });
    };
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
            NODE* tree = cell->first;
            collect(tree->op == SWITCH || tree->op == IF ? tree->left : tree);
        }
    for (uint32_t i = 0; i < t.count; i++)
        if (t.entry[i].kind == EHK_CLEANUP) collect(t.entry[i].cleanup);
}

void mark_kept(TABLE& t) {
    t.keep[EHT_ROOT_ID] = true; // every chain ends here
    for (uint32_t i = 1; i < t.count; i++) {
        switch (t.entry[i].kind) {
        case EHK_ROOT_NODE:
        case EHK_CATCH:
        case EHK_TERMINATE: t.keep[i] = true; break;
        case EHK_CLEANUP:
        case EHK_CATCH_END:
            t.keep[i] = true;
            t.keep[t.entry[i].next] = true;
            break;
        default: break;
        }
    }
    for (uint32_t i = 1; i < t.count; i++)
        if (!t.keep[i] && t.entry[i].kind != EHK_CLEANUP_END) abort_optimizer("an exception entry of an unknown kind");
}

// The first entry along the chain that is kept.
uint32_t first_kept(const TABLE& t, uint32_t id) {
    while (!t.keep[id]) id = t.entry[id].next;
    return id;
}

} // namespace

void compact_exception_table() {
    FUNINFO* f = currfuninfo;
    TABLE t{f->eht, f->eht_size, std::vector<bool>(f->eht_size), std::vector<bool>(f->eht_size), {}};
    collect_calls(t);
    mark_kept(t);
    for (uint32_t i = 0; i < t.count; i++) t.entry[i].next = first_kept(t, t.entry[i].next);
    for (NODE* call : t.calls) call->u.call.eht_id = first_kept(t, call->u.call.eht_id);

    t.used[EHT_ROOT_ID] = true;
    if (t.count > 1) t.used[1] = true;
    for (NODE* call : t.calls) t.used[call->u.call.eht_id] = true;
    for (uint32_t i = 0; i < t.count; i++) {
        if (!t.used[i]) continue;
        for (uint32_t at = t.entry[i].next; !t.used[at]; at = t.entry[at].next) t.used[at] = true;
    }
    // A use found along a chain reaches the entries behind it, too: the walk above stops only at used ones, whose own
    // chains are walked from them, before or after.
    uint32_t kept = 0;
    std::vector<uint32_t> new_id(t.count);
    for (uint32_t i = 0; i < t.count; i++)
        if (t.used[i]) new_id[i] = kept++;
    if (kept == t.count) return;
    for (uint32_t i = 0; i < t.count; i++) {
        if (!t.used[i]) {
            erase_tree(t.entry[i].cleanup);
            t.entry[i].cleanup = nullptr;
            continue;
        }
        uint32_t next = new_id[t.entry[i].next];
        OPTASSERT(next != 0 || t.entry[i].next == EHT_ROOT_ID);
        EHT_ENTRY moved = std::move(t.entry[i]);
        moved.id = new_id[i];
        moved.next = next;
        t.entry[i].cleanup = nullptr;
        t.entry[new_id[i]] = std::move(moved);
    }
    f->eht_size = kept;
    for (NODE* call : t.calls) call->u.call.eht_id = new_id[call->u.call.eht_id];
}
