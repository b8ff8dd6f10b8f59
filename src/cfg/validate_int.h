// What the checkers share.
#ifndef CFG_VALIDATE_INT_H
#define CFG_VALIDATE_INT_H

#include "ir/bblk.h"

#include <string>
#include <vector>

// Faults found so far, and the place that is looked at.
class FAULT_LIST {
  public:
    void at(const BBLK* bb, const NODE* stmt) {
        bb_ = bb;
        stmt_ = stmt;
    }
    // `node`: the node at fault, or null.
    void add(const NODE* node, const std::string& what);
    bool full() const { return texts_.size() >= limit; }
    std::vector<std::string> take() { return std::move(texts_); }

  private:
    static constexpr size_t limit = 50;
    const BBLK* bb_ = nullptr;
    const NODE* stmt_ = nullptr;
    std::vector<std::string> texts_;
};

std::string op_text(const NODE* node); // the opcode without padding

#endif
