// The icode side: small constructors for trees, the body of a function while it is translated, and the file.
//
// A function is kept whole until it is complete, because a temporary found necessary in the middle of a block must be
// declared at its start; then it is written and its trees are freed.
#ifndef NXPARSE_BUILD_H
#define NXPARSE_BUILD_H

#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

// ---- trees. Operands become the new node's own.
NODE* node0(int op, TYPE* type);
NODE* node1(int op, TYPE* type, NODE* left);
NODE* node2(int op, TYPE* type, NODE* left, NODE* right);
NODE* icon(INT65 value, TYPE* type); // truncated to the type
NODE* icon(int64_t value);           // of type int
NODE* fcon(const std::string& number, TYPE* type);
NODE* scon(const std::string& bytes, TYPE* type);
NODE* name_of(SYMTAB* sym, TYPE* type);
NODE* label_ref(uint32_t number);
NODE* field_of(fkMDATA* member, TYPE* record);
// `first` for its effect, then `second`; either may be null.
NODE* sequence(NODE* first, NODE* second);
// The chain of COMMA (or PCOMMA) cells over the items, left-leaning; null for none.
NODE* chain(int op, const std::vector<NODE*>& items, TYPE* type);

// ---- the body of a function
struct BLOCK;
struct ITEM {
    NODE* tree = nullptr;                  // a statement, or
    uint32_t label = 0;                    // a label definition, or
    std::unique_ptr<PRAGMA> pragma;        // a pragma, or
    std::unique_ptr<std::string> assembly; // assembly text, or
    BLOCK* block = nullptr;                // a nested block
    PSN* psn = nullptr;
};
struct BLOCK {
    PSN* begin = nullptr;
    PSN* end = nullptr;
    std::vector<SYMTAB*> locals;
    std::vector<ITEM> items;
};
struct FUNCTION_BODY {
    SYMTAB* sym = nullptr;
    std::vector<SYMTAB*> params;
    std::deque<BLOCK> blocks; // the first is the outer one
    PSN* begin = nullptr;
    PSN* locals_end = nullptr;
    PSN* end = nullptr;
    uint32_t labels = 0; // numbers given so far
};

// Thrown by write_function when a tree nests deeper than a reader of the file accepts.
struct TOO_DEEP {
    PSN* psn;
};

class ICODE_WRITER {
  public:
    ICODE_WRITER(FILE* stream, const char* producer); // owns the stream
    ~ICODE_WRITER();
    SYMTAB* global(const std::string& name, TYPE* type, int sclass, PSN* psn, uint32_t align_bits); // enters it
    SYMTAB* local(const std::string& name, TYPE* type, int sclass, PSN* psn, uint32_t align_bits);  // of a body
    static void add_pragma(SYMTAB* sym, uint32_t kind, std::vector<std::string> strings);
    void set_initialiser(SYMTAB* sym, std::vector<NODE*> nodes); // without the ENDINIT
    void top_level_assembly(const std::string& text, PSN* psn);
    void write_function(FUNCTION_BODY& body);
    // Writes the initialisers and closes the file; false on a stream error.
    bool finish();

  private:
    void write_block(BLOCK& block);
    void write_tree(NODE* tree, PSN* psn);
    I_FILE* file_;
    std::vector<std::pair<SYMTAB*, std::vector<NODE*>>> initialisers_;
};

#endif
