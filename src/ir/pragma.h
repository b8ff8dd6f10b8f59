// What symbols and functions carry from an icode file beside trees: pragmas, initialisers, exception tables.
#ifndef IR_PRAGMA_H
#define IR_PRAGMA_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct NODE;

struct PRAGMA {
    enum KIND {
#define PRAGMA_KIND(no, name, text) name = no,
#include "ir/pragmas.def"
        PRAGMA_COUNT
    };
    uint32_t kind = 0;
    std::vector<std::string> strings;
    PRAGMA* next = nullptr;

    PRAGMA() = default;
    explicit PRAGMA(uint32_t k) : kind(k) {}
    PRAGMA(uint32_t k, std::vector<std::string> texts) : kind(k), strings(std::move(texts)) {}
    const char* name() const; // "unknown" above the last kind
    // A string of the pragma, "" if it has not so many.
    const char* arg(size_t i) const { return i < strings.size() ? strings[i].c_str() : ""; }
};
PRAGMA* copy_pragma(const PRAGMA*); // alone, without its list
void erase_pragma_list(PRAGMA*);

// Nodes of an initialiser, the ENDINIT included. Owns its cells and trees.
struct EXPR_CELL {
    NODE* node;
    EXPR_CELL* next;
};
struct EXPR_LIST {
    EXPR_CELL* head = nullptr;
    EXPR_CELL* tail = nullptr;
    EXPR_CELL* cursor = nullptr;
    void append(NODE*);
    ~EXPR_LIST();
};

enum EHK { EHK_ROOT_NODE, EHK_CLEANUP, EHK_CATCH, EHK_CLEANUP_END, EHK_CATCH_END, EHK_TERMINATE };
constexpr uint32_t EHT_ROOT_ID = 0;

struct I_CATCH_ENTRY {
    std::string type_name; // run-time name of the type
    int32_t label = 0;
    bool flag = false;
};
struct EHT_ENTRY {
    uint32_t id = 0;
    uint32_t kind = 0; // EHK
    uint32_t next = 0;
    uint32_t count = 0;                 // EHK_CATCH: number of catch entries; others as read
    NODE* cleanup = nullptr;            // EHK_CLEANUP, owned
    std::vector<I_CATCH_ENTRY> catches; // EHK_CATCH
};

#endif
