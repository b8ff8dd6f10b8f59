// Well-formedness of what a file holds: the shapes of trees, the labels of a function.
//
// The reader accepts any tree that can be decoded. Who works on trees first asks here, so that everything behind may
// rely on the shapes that docs/icode.md states. A fault is told as a text; the caller ends the run.
#ifndef ICODE_IF_CHECK_H
#define ICODE_IF_CHECK_H

#include <cstdint>
#include <unordered_set>

struct NODE;

// The first fault of a statement's tree, of an initialiser's node, or null if there is none. The missing type of a
// LABEL, COMMA, CASE or DEFAULT is set to int.
const char* statement_fault(NODE* tree);
const char* initialiser_fault(NODE* tree);
// The same for an expression that is no statement (the clean-up of an exception entry).
const char* expression_fault(NODE* tree);

// The labels of one function: fed with its statements and definitions, asked at the end.
class LABEL_CHECK {
  public:
    // A label defined by its own record, or by a LOOP. False if it was defined before, or the number is not positive.
    bool define(uint32_t number);
    void note_references(NODE* statement); // the LABELs of the statement
    const char* fault() const;             // null, or that a label is not defined
    void clear();

  private:
    std::unordered_set<uint32_t> defined_, referenced_;
};

#endif
