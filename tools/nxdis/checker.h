// The state of one check(): internal to the library.
#ifndef NXTEXT_CHECKER_H
#define NXTEXT_CHECKER_H

#include "scope.h"
#include "text.h"
#include "type_table.h"

#include <map>

namespace nxtext {

struct CHECKER {
    const DOCUMENT& doc;
    TYPE_TABLE types;
    SCOPE scope{doc};
    std::vector<std::string> faults;
    std::string where;                                   // in front of a fault's text
    uint32_t statements = 0;                             // of the function so far
    bool prolog_possible = false;                        // only pragmas and comments have come since the parameters
    std::map<uint32_t, int> labels_defined, labels_used; // of the function

    explicit CHECKER(const DOCUMENT& d) : doc(d) {}
    void fault(const std::string& what) { faults.push_back(where + what); }

    // check
    void run();
    void type_records();
    void symbol(const SYMBOL_REC&, bool local);
    void item(const ITEM&);
    void initialiser(const ITEM&);
    bool link_constant(const TREE&, int n);
    void end_function();
    void place(const POS&);
    bool defined(uint32_t t) const { return t != 0 && types.defined(t); }

    // check_tree
    enum ROLE { STATEMENT, VALUE, LABEL_REF, MEMBER, ARMS, LIST, PARAMETER, ADDRESS };
    void tree(const TREE&, ROLE root);
    void node(const TREE&, int n, ROLE);
    void operands(const TREE&, int n);
    void arithmetic(const TREE&, int n);
    void assignment(const TREE&, int n);
    void member(const TREE&, int n);
    void call(const TREE&, int n);
    void switch_list(const TREE&, int n);
    void name(const TREE&, int n, ROLE);
    void constant(const TREE&, int n);
    bool lvalue(const TREE&, int n) const;
    bool bit_field(const TREE&, int n) const;
    bool is_prolog(const TREE&) const;
    // What the machine sees of a type: two values of one class need no conversion.
    struct MACHINE_CLASS {
        char kind; // i integer, f float, p pointer, s struct, a array, v void, - none
        uint32_t size;
        bool sign;
        uint32_t struct_ref;
        bool operator==(const MACHINE_CLASS&) const = default;
    };
    MACHINE_CLASS machine_class(uint32_t t) const;
    bool same(uint32_t a, uint32_t b) const { return machine_class(a) == machine_class(b); }
    bool pointer_wide_integer(uint32_t t) const {
        const MACHINE_CLASS c = machine_class(t);
        return c.kind == 'i' && c.size == 32;
    }
    void need(bool holds, const TREE&, int n, const char* what);
};

} // namespace nxtext

#endif
