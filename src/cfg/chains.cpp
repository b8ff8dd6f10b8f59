// Placing blocks in chains.
//
// From the innermost loop outwards, the units of a loop (its blocks, and each loop directly inside of it as one chain
// that is finished) are joined into chains, the edge whose falling through saves most first: Pettis and Hansen's
// bottom-up positioning, one loop at a time. When an edge would join a chain with its own beginning, the chain is a
// ring, and it is cut at the link that costs least:
//
//     top:  if (!c) goto out          A ring  top -> body -> top  cut behind `top` falls from body into the test;
//     leaving
//           body                      the loop falls out of it, and entering costs one jump.
//           goto top
//
// Cost:   sorting of the edges, otherwise linear in blocks and edges.
#include "cfg/chains.h"

#include "cfg/bbutils.h"
#include "cfg/flow.h"
#include "ir/vars.h"

#include <algorithm>

namespace {

struct LINK {
    double gain; // jumps saved when `to` stands behind `from`
    int from, to;
};

class CHAIN_LAYOUT {
  public:
    explicit CHAIN_LAYOUT(const FLOW& flow);
    std::vector<int> run();

  private:
    double fall_through_gain(int from, int to) const;
    double entry_gain(int header);
    double best_exit_gain(int block, int loop) const;
    void sort_into_loops();
    void place_loop(int loop);
    void join(int loop, const LINK& link);
    void turn_ring(int loop, const LINK& closing);
    void concatenate(int loop);

    // A chain is known by one of its blocks; `chain_` leads there.
    int chain_of(int b) {
        while (chain_[b] != b) b = chain_[b] = chain_[chain_[b]];
        return b;
    }
    // The last block of the unit of the loop that begins with the block.
    int unit_end(int loop, int b) const;

    const FLOW& flow_;
    std::vector<int> chain_;
    std::vector<int> next_;                  // in the chain; -1 at the end
    std::vector<int> head_, tail_, key_;     // of a chain; key: smallest position in it
    std::vector<int> loop_head_, loop_tail_; // of a finished loop, by header
    std::vector<std::vector<LINK>> links_;   // by header + 1: edges between units of the loop
    std::vector<std::vector<int>> units_;    // by header + 1: a block of each unit
    std::vector<double> entry_gain_;         // by header; -1.0 not known yet
    std::vector<uint8_t> turned_;            // by header + 1: a ring of the loop was cut
};

CHAIN_LAYOUT::CHAIN_LAYOUT(const FLOW& flow)
    : flow_(flow), next_(flow.size(), -1), loop_head_(flow.size(), -1), loop_tail_(flow.size(), -1),
      links_(flow.size() + 1), units_(flow.size() + 1), entry_gain_(flow.size(), -1.0), turned_(flow.size() + 1) {
    chain_.resize(flow.size());
    for (int b = 0; b < flow.size(); b++) chain_[b] = b;
    head_ = tail_ = key_ = chain_;
}

// A BRANCH costs nothing when its target follows. An IF costs one more on its false way when neither target follows.
// The small term prefers likely ways where the count of jumps is the same.
double CHAIN_LAYOUT::fall_through_gain(int from, int to) const {
    constexpr double taste = 0.01;
    double p = flow_.probability(from, flow_.order[to]);
    double saved = flow_.end[from]->op == BRANCH ? 1.0
                   : flow_.end[from]->op == IF   ? flow_.false_probability(from)
                                                 : 0.0;
    return flow_.frequency[from] * (saved + taste * p);
}

// What falling into the loop from outside saves.
double CHAIN_LAYOUT::entry_gain(int header) {
    if (entry_gain_[header] >= 0.0) return entry_gain_[header];
    double best = 0.0;
    for (EDGE* edge = flow_.order[header]->preds; edge != nullptr; edge = edge->next)
        if (int from = flow_.at(edge->bb); from >= 0 && !flow_.loop_contains(header, from))
            best = std::max(best, fall_through_gain(from, header));
    return entry_gain_[header] = best;
}

// What it saves at most when the block is the last one of the loop and the way out follows.
double CHAIN_LAYOUT::best_exit_gain(int block, int loop) const {
    if (loop < 0) return 0.0;
    double best = 0.0;
    for (EDGE* edge = flow_.order[block]->succs; edge != nullptr; edge = edge->next)
        if (!flow_.loop_contains(loop, flow_.at(edge->bb)))
            best = std::max(best, fall_through_gain(block, flow_.at(edge->bb)));
    return best;
}

void CHAIN_LAYOUT::sort_into_loops() {
    for (int b = 0; b < flow_.size(); b++) {
        units_[flow_.loop_of[b] + 1].push_back(b);
        if (flow_.is_header(b)) units_[flow_.loop_parent[b] + 1].push_back(b);
        for (EDGE* edge = flow_.order[b]->succs; edge != nullptr; edge = edge->next) {
            int to = flow_.at(edge->bb);
            if (to == b || to == 0) continue; // nothing stands in front of the first block
            double gain = fall_through_gain(b, to);
            int loop = flow_.common_loop(b, to);
            if (loop == to) gain -= entry_gain(to); // round the loop: it can no longer be fallen into
            if (gain > 0.0) links_[loop + 1].push_back({gain, b, to});
        }
    }
}

int CHAIN_LAYOUT::unit_end(int loop, int b) const {
    int inner = flow_.loop_of[b];
    if (inner == loop) return b;
    while (flow_.loop_parent[inner] != loop) inner = flow_.loop_parent[inner];
    return loop_tail_[inner];
}

void CHAIN_LAYOUT::join(int loop, const LINK& link) {
    int front = chain_of(link.from), back = chain_of(link.to);
    if (tail_[front] != link.from || head_[back] != link.to) return;
    if (front == back) {
        if (!turned_[loop + 1]) turn_ring(loop, link);
        return;
    }
    next_[link.from] = link.to;
    chain_[back] = front;
    tail_[front] = tail_[back];
    key_[front] = std::min(key_[front], key_[back]);
}

// Cuts the ring that the closing link makes where that costs least: the gain of the link, less what the block in front
// of the cut saves as the last one of the loop.
void CHAIN_LAYOUT::turn_ring(int loop, const LINK& closing) {
    turned_[loop + 1] = 1;
    int ring = chain_of(closing.from);
    double least = closing.gain - best_exit_gain(closing.from, loop);
    int cut = -1; // the block in front of the cut
    for (int b = unit_end(loop, head_[ring]); next_[b] >= 0; b = unit_end(loop, next_[b])) {
        int behind = next_[b];
        double gain = 0.0;
        for (EDGE* edge = flow_.order[b]->succs; edge != nullptr; edge = edge->next)
            if (flow_.at(edge->bb) == behind) gain = fall_through_gain(b, behind);
        if (behind == loop) gain -= entry_gain(loop);
        double cost = gain - best_exit_gain(b, loop);
        if (cost < least) {
            least = cost;
            cut = b;
        }
    }
    if (cut < 0) return;
    next_[closing.from] = closing.to;
    head_[ring] = next_[cut];
    tail_[ring] = cut;
    next_[cut] = -1;
}

// The chains of the loop in the order of their first blocks; the one whose end saves most by falling out of the loop
// comes last, unless it begins with the header and saves more by being fallen into.
void CHAIN_LAYOUT::concatenate(int loop) {
    std::vector<int> chains;
    for (int b : units_[loop + 1]) chains.push_back(chain_of(b));
    std::sort(chains.begin(), chains.end(), [&](int a, int b) { return key_[a] < key_[b]; });
    chains.erase(std::unique(chains.begin(), chains.end()), chains.end());
    if (loop >= 0 && chains.size() > 1) {
        size_t last = 0;
        double best = 0.0;
        for (size_t i = 0; i < chains.size(); i++) {
            double gain = best_exit_gain(tail_[chains[i]], loop);
            if (head_[chains[i]] == loop) gain -= entry_gain(loop);
            if (gain > best) {
                best = gain;
                last = i;
            }
        }
        if (best > 0.0) std::rotate(chains.begin() + last, chains.begin() + last + 1, chains.end());
    }
    int all = chains.front();
    for (size_t i = 1; i < chains.size(); i++) {
        next_[tail_[all]] = head_[chains[i]];
        tail_[all] = tail_[chains[i]];
        key_[all] = std::min(key_[all], key_[chains[i]]);
        chain_[chains[i]] = all;
    }
    if (loop < 0) return;
    loop_head_[loop] = head_[all];
    loop_tail_[loop] = tail_[all];
}

void CHAIN_LAYOUT::place_loop(int loop) {
    std::vector<LINK>& links = links_[loop + 1];
    std::sort(links.begin(), links.end(), [](const LINK& a, const LINK& b) {
        if (a.gain != b.gain) return a.gain > b.gain;
        return a.from != b.from ? a.from < b.from : a.to < b.to;
    });
    for (const LINK& link : links) join(loop, link);
    concatenate(loop);
}

std::vector<int> CHAIN_LAYOUT::run() {
    sort_into_loops();
    for (int h = flow_.size() - 1; h >= 0; h--) // inner loops have later headers
        if (flow_.is_header(h)) place_loop(h);
    place_loop(-1);
    std::vector<int> sequence;
    for (int b = head_[chain_of(0)]; b >= 0; b = next_[b]) sequence.push_back(b);
    return sequence;
}

} // namespace

void order_blocks_in_chains() {
    FUNINFO* f = currfuninfo;
    if (f->bb_list == nullptr) return;
    FLOW flow = FLOW::of_current_function();
    std::vector<BBLK*> placed;
    for (int b : CHAIN_LAYOUT(flow).run()) placed.push_back(flow.order[b]);
    OPTASSERT(placed.size() == flow.order.size() && placed.front() == f->bb_list);
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) // what is not reached stays behind
        if (flow.at(bb) < 0) placed.push_back(bb);
    BBLK* last = nullptr;
    int n = 0;
    for (BBLK* bb : placed) {
        bb->dfn = ++n;
        bb->rdflink = last;
        if (last != nullptr) last->dflink = bb;
        last = bb;
    }
    last->dflink = nullptr;
    f->bb_list->rdflink = last;
}
