// The state of one print(): internal to the library.
#ifndef NXTEXT_PRINTER_H
#define NXTEXT_PRINTER_H

#include "natural.h"
#include "text.h"

#include <map>

namespace nxtext {

// Lower-case word of an opcode in functional form: "pmconv"; "op33" for numbers that have no name.
const std::string& opcode_word(int op);
// Opcode of a word, -1 if it is none.
int opcode_of_word(const std::string& word);
// Number of fields in brackets behind the word of an opcode; -1 for one string.
int field_count(int op);
// Infix operator of a two-operand opcode, unary operator of a one-operand one; null if it is written as a function.
const char* infix_text(int op);
const char* prefix_text(int op);
bool assigns(int op); // infix operators that stand without parentheses as a statement
// Opcodes whose one operand, or right operand, is a list of arguments.
inline bool takes_list(int op) { return op == MEMCPY || op == ICALL || op == MCALL; }

struct PRINTER {
    const DOCUMENT& doc;
    PRINT_OPTIONS options;
    std::string out;
    TYPE_TABLE types;
    TYPE_SOURCE source{types};
    SCOPE scope{doc};
    int depth = 0; // of the tree in work
    uint32_t current_file = 0;
    std::map<std::string, std::vector<std::string>> source_lines; // by file name
    POS last_source;
    int indent = 0;

    PRINTER(const DOCUMENT& d, const PRINT_OPTIONS& o) : doc(d), options(o) {}

    // print
    void run();
    void header();
    void line() { out.append(static_cast<size_t>(indent) * 2, ' '); }
    void position(const POS&);
    void show_source(const POS&);
    void pragma_words(const PRAGMA_REC&);
    void globals();
    void symbol(const SYMBOL_REC&, bool local);
    void item(const ITEM&);
    void statement(const ITEM&);
    void initialiser(const ITEM&);
    void eht(const ITEM&);
    void raw(int id, const std::string& bytes);

    // print_type
    void type_records();
    bool type_sugar(size_t& i, size_t end);
    void type_generic(const TYPE_REC&);
    void type_attributes(uint32_t size, uint32_t natural_size, uint32_t align, uint32_t natural_align);
    bool function_sugar(size_t& i, size_t end);
    bool list_line(const TYPE_REC&, uint32_t list, uint32_t number);

    // print_expr
    void top(const TREE&, int n, uint32_t expect);     // a binary operator stands without parentheses
    void operand(const TREE&, int n, uint32_t expect); // a binary operator stands in parentheses
    void primary(const TREE&, int n, uint32_t expect); // what may carry a postfix
    bool bare_binary(const TREE&, int n, uint32_t expect);
    void binary(const TREE&, int n, uint32_t expect);
    bool shorthand(const TREE&, int n, uint32_t expect); // without the type's suffix
    void generic(const TREE&, int n, uint32_t expect);
    void call(const TREE&, int n);
    bool direct_callee(const TREE&, int n);
    void list(const TREE&, int n, uint32_t callee_type, uint32_t expect);
    size_t count_list(const TREE&, int n);
    void suffix(const TREE&, int n, uint32_t expect);
    bool is_natural(const TREE& t, int n, uint32_t expect) {
        return natural_type(t, n, expect, scope, source, false) == t[n].type;
    }
    void name(const ENODE&);
    bool is_symbol_name(const ENODE& n, bool function);
};

} // namespace nxtext

#endif
