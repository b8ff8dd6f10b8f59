// Forward must-be-assigned analysis, one bit a symbol. A block gives: what it assigns behind its last call, whether it
// holds a call that ends what was proved before, and what it reads before either. Inside a statement the parts are
// taken in the order in which they are evaluated.
#include "ir/assigned.h"

#include "ir/funinfo.h"
#include "ir/node.h"
#include "ir/vars.h"

#include <utility>

namespace {

using MASK = uint64_t;

// What is known at a point of a block.
struct FLOW {
    MASK assigned = 0;   // since the block's start and since the last call
    bool called = false; // there was a call since the block's start
};

FLOW join(FLOW a, FLOW b) { return FLOW{a.assigned & b.assigned, a.called || b.called}; }

struct BLOCK_SUMMARY {
    FLOW end;
    MASK needs = 0;     // read when neither an assignment nor a call stood before it in the block
    MASK in = ~MASK{0}; // assigned on every path to the block
    MASK out() const { return end.assigned | (end.called ? 0 : in); }
};

bool is_call(int op) { return opcode_is_call(op) || op == MCALL || op == UMCALL; }

class ASSIGNED_ANALYSIS {
  public:
    ASSIGNED_ANALYSIS(const FUNINFO* f, const std::vector<SYMTAB*>& symbols, bool calls_forget)
        : f_(f), symbols_(symbols), calls_forget_(calls_forget), bits_(symbols.size()) {
        for (size_t i = 0; i < symbols_.size(); i++) {
            bits_[i] = MASK{1} << i;
            symbols_[i]->link[0] = &bits_[i];
        }
    }
    ~ASSIGNED_ANALYSIS() {
        for (SYMTAB* sym : symbols_) sym->link[0] = nullptr;
    }

    MASK run() {
        summarise_blocks();
        propagate();
        for (const BLOCK_SUMMARY& block : blocks_) unassigned_ |= block.needs & ~block.in;
        return unassigned_;
    }

  private:
    static MASK bit_of(const NODE* node) {
        if (node->op != NAME || node->u.sym == nullptr || node->u.sym->link[0] == nullptr) return 0;
        return *static_cast<const MASK*>(node->u.sym->link[0]);
    }

    void read(MASK bit) {
        if (flow_.assigned & bit) return;
        if (flow_.called)
            unassigned_ |= bit;
        else
            summary_->needs |= bit;
    }
    void write(MASK bit) { flow_.assigned |= bit; }
    void call() {
        if (calls_forget_) flow_ = FLOW{0, true};
    }

    // Evaluation goes through a stack of tasks, in the order in which the parts of an expression are evaluated. Where
    // only one of two parts runs, the flow before them is kept and the flows behind them are joined.
    enum TASK_KIND { EVALUATE, READ, WRITE, CALLS, KEEP, JOIN, OTHER_ARM };
    struct TASK {
        TASK_KIND kind;
        const NODE* node;
    };

    void evaluate(const NODE* root) {
        tasks_.push_back({EVALUATE, root});
        while (!tasks_.empty()) {
            TASK task = tasks_.back();
            tasks_.pop_back();
            switch (task.kind) {
            case EVALUATE: expand(task.node); break;
            case READ: read(bit_of(task.node)); break;
            case WRITE: write(bit_of(task.node)); break;
            case CALLS: call(); break;
            case KEEP: kept_.push_back(flow_); break;
            case JOIN:
                flow_ = join(flow_, kept_.back());
                kept_.pop_back();
                break;
            case OTHER_ARM: std::swap(flow_, kept_.back()); break;
            }
        }
    }

    // Pushes the tasks of a node, the last one first.
    void expand(const NODE* node) {
        auto later = [&](TASK_KIND kind, const NODE* part) {
            if (part != nullptr) tasks_.push_back({kind, part});
        };
        if (bit_of(node)) return read(bit_of(node));
        const NODE *left = node->left, *right = node->op == CSE_DUPE ? nullptr : node->right;
        if (opcode_is_store(node->op)) {
            if (bit_of(left) == 0)
                later(EVALUATE, left);
            else {
                later(WRITE, left);
                if (node->op != ASG) later(READ, left);
            }
            return later(EVALUATE, right);
        }
        switch (node->op) {
        case IF:
        case SWITCH: return later(EVALUATE, left); // the right operand holds labels
        case ANDAND:
        case OROR: // the second operand may not run
            later(JOIN, node);
            later(EVALUATE, right);
            later(KEEP, node);
            return later(EVALUATE, left);
        case QUEST:
            if (right == nullptr || right->op != COLON) break;
            later(JOIN, node);
            later(EVALUATE, right->right);
            later(OTHER_ARM, node);
            later(EVALUATE, right->left);
            later(KEEP, node);
            return later(EVALUATE, left);
        default: break;
        }
        if (is_call(node->op)) { // arguments, then the callee
            later(CALLS, node);
            later(EVALUATE, left);
            return later(EVALUATE, right);
        }
        later(EVALUATE, right);
        later(EVALUATE, left);
    }

    void summarise_blocks() {
        blocks_.resize(f_->blocks.size());
        for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
            summary_ = &blocks_[bb->serial];
            flow_ = FLOW();
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) evaluate(cell->first);
            summary_->end = flow_;
        }
    }

    // The greatest solution: everything is assigned until a path shows the contrary.
    void propagate() {
        for (bool changed = true; changed;) {
            changed = false;
            for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
                MASK in = bb == f_->bb_list ? 0 : ~MASK{0};
                for (EDGE* e = bb->preds; e != nullptr; e = e->next) in &= blocks_[e->bb->serial].out();
                if (in == blocks_[bb->serial].in) continue;
                blocks_[bb->serial].in = in;
                changed = true;
            }
        }
    }

    const FUNINFO* f_;
    const std::vector<SYMTAB*>& symbols_;
    bool calls_forget_;
    std::vector<MASK> bits_; // by symbol
    MASK unassigned_ = 0;
    std::vector<BLOCK_SUMMARY> blocks_; // by serial number
    BLOCK_SUMMARY* summary_ = nullptr;  // of the block in work
    FLOW flow_;                         // at the place in work
    std::vector<FLOW> kept_;
    std::vector<TASK> tasks_;
};

} // namespace

uint64_t read_before_assigned(const FUNINFO* f, const std::vector<SYMTAB*>& symbols, bool calls_forget) {
    OPTASSERT(symbols.size() <= max_assigned_query);
    return ASSIGNED_ANALYSIS(f, symbols, calls_forget).run();
}
