#include "ir/pragma.h"

#include "ir/node.h"

const char* PRAGMA::name() const {
    static const char* const names[] = {
#define PRAGMA_KIND(no, name, text) text,
#include "ir/pragmas.def"
    };
    return kind < PRAGMA_COUNT ? names[kind] : "unknown";
}

PRAGMA* copy_pragma(const PRAGMA* from) { return new PRAGMA(from->kind, from->strings); }

void erase_pragma_list(PRAGMA* list) {
    while (list != nullptr) {
        PRAGMA* next = list->next;
        delete list;
        list = next;
    }
}

void EXPR_LIST::append(NODE* node) {
    auto* cell = new EXPR_CELL{node, nullptr};
    (tail != nullptr ? tail->next : head) = cell;
    tail = cell;
}

EXPR_LIST::~EXPR_LIST() {
    while (head != nullptr) {
        EXPR_CELL* next = head->next;
        erase_tree(head->node);
        delete head;
        head = next;
    }
}
