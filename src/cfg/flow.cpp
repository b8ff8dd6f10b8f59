#include "cfg/flow.h"

#include "cfg/bbutils.h"
#include "ir/vars.h"

#include <algorithm>

namespace {

constexpr double loop_weight = 8.0;   // assumed trips of a loop
constexpr double stay_in_loop = 0.88; // 1 - 1 / loop_weight, nearly
constexpr double way_to_return = 0.3; // towards a block that returns, against one that does not
constexpr double most_frequent = 1e15, least_frequent = 1e-15;

void find_order(FLOW& flow) {
    BBLK* first = currfuninfo->bb_list;
    flow.position.assign(currfuninfo->blocks.size(), -1);
    std::vector<std::pair<BBLK*, EDGE*>> stack{{first, first->succs}};
    std::vector<uint8_t> seen(currfuninfo->blocks.size());
    seen[first->serial] = 1;
    while (!stack.empty()) {
        auto& [bb, edge] = stack.back();
        if (edge == nullptr) {
            flow.order.push_back(bb);
            stack.pop_back();
            continue;
        }
        BBLK* far = edge->bb;
        edge = edge->next;
        if (seen[far->serial]) continue;
        seen[far->serial] = 1;
        stack.push_back({far, far->succs});
    }
    std::reverse(flow.order.begin(), flow.order.end());
    for (int i = 0; i < flow.size(); i++) {
        flow.position[flow.order[i]->serial] = i;
        flow.end.push_back(terminator_of(flow.order[i]));
        flow.ways.push_back(edge_length(flow.order[i]->succs));
    }
}

// Cooper, Harvey, Kennedy: A Simple, Fast Dominance Algorithm.
void find_dominators(FLOW& flow) {
    int n = flow.size();
    flow.idom.assign(n, -1);
    flow.idom[0] = 0;
    for (bool changed = true; changed;) {
        changed = false;
        for (int b = 1; b < n; b++) {
            int dom = -1;
            for (EDGE* edge = flow.order[b]->preds; edge != nullptr; edge = edge->next) {
                int p = flow.at(edge->bb);
                if (p < 0 || flow.idom[p] < 0) continue;
                if (dom < 0) {
                    dom = p;
                    continue;
                }
                while (dom != p)
                    if (dom > p)
                        dom = flow.idom[dom];
                    else
                        p = flow.idom[p];
            }
            if (flow.idom[b] != dom) {
                flow.idom[b] = dom;
                changed = true;
            }
        }
    }
}

// Whether a dominates b, by intervals of a walk over the dominator tree.
class DOMINANCE {
  public:
    explicit DOMINANCE(const FLOW& flow) : in_(flow.size()), out_(flow.size()) {
        int n = flow.size(), clock = 0;
        std::vector<std::vector<int>> children(n);
        for (int b = 1; b < n; b++) children[flow.idom[b]].push_back(b);
        std::vector<std::pair<int, size_t>> stack{{0, 0}};
        while (!stack.empty()) {
            auto& [b, next] = stack.back();
            if (next == 0) in_[b] = clock++;
            if (next == children[b].size()) {
                out_[b] = clock++;
                stack.pop_back();
            } else
                stack.push_back({children[b][next++], 0});
        }
    }
    bool dominates(int a, int b) const { return in_[a] <= in_[b] && out_[b] <= out_[a]; }

  private:
    std::vector<int> in_, out_;
};

// From the innermost header outwards; what an inner loop holds is represented by its header from then on.
void find_loops(FLOW& flow) {
    int n = flow.size();
    flow.loop_of.assign(n, -1);
    flow.loop_parent.assign(n, -1);
    flow.loop_depth.assign(n, 0);
    DOMINANCE dominance(flow);
    std::vector<int> inside(n); // union-find: header of the outermost loop found so far, or the block
    for (int b = 0; b < n; b++) inside[b] = b;
    auto find = [&](int b) {
        while (inside[b] != b) b = inside[b] = inside[inside[b]];
        return b;
    };
    std::vector<int> work;
    for (int h = n - 1; h >= 0; h--) {
        bool is_header = false;
        auto reach = [&](int b) {
            b = find(b);
            if (b == h) return;
            work.push_back(b);
        };
        for (EDGE* edge = flow.order[h]->preds; edge != nullptr; edge = edge->next) {
            int p = flow.at(edge->bb);
            if (p < h || !dominance.dominates(h, p)) continue;
            is_header = true;
            reach(p);
        }
        if (!is_header) continue;
        flow.loop_of[h] = h;
        while (!work.empty()) {
            int b = find(work.back());
            work.pop_back();
            if (b == h) continue;
            (flow.is_header(b) ? flow.loop_parent : flow.loop_of)[b] = h;
            inside[b] = h;
            for (EDGE* edge = flow.order[b]->preds; edge != nullptr; edge = edge->next)
                if (int p = flow.at(edge->bb); p >= 0) reach(p);
        }
    }
    for (int b = 0; b < n; b++) { // a header stands in front of all that its loop holds
        int h = flow.loop_of[b];
        if (h == b)
            flow.loop_depth[b] = 1 + (flow.loop_parent[b] >= 0 ? flow.loop_depth[flow.loop_parent[b]] : 0);
        else if (h >= 0)
            flow.loop_depth[b] = flow.loop_depth[h];
    }
}

void estimate_frequencies(FLOW& flow) {
    flow.frequency.assign(flow.size(), 0.0);
    flow.frequency[0] = 1.0;
    for (int b = 0; b < flow.size(); b++) {
        double f = flow.frequency[b]; // what came in over edges that go forward
        if (flow.is_header(b)) f *= loop_weight;
        flow.frequency[b] = f = std::clamp(f, least_frequent, most_frequent);
        for (EDGE* edge = flow.order[b]->succs; edge != nullptr; edge = edge->next)
            if (int to = flow.at(edge->bb); to > b) flow.frequency[to] += f * flow.probability(b, edge->bb);
    }
}

bool returns(const BBLK* bb) { return bb->succs == nullptr; }

// How likely an IF takes its true way.
double true_probability(const FLOW& flow, int from, const NODE* jump) {
    const BBLK *yes = jump->right->left->lbl->bb, *no = jump->right->right->lbl->bb;
    if (double p = jump->right->left->probability(); p >= 0.0 && p <= 1.0) return p;
    if (double p = jump->right->right->probability(); p >= 0.0 && p <= 1.0) return 1.0 - p;
    for (int loop = flow.loop_of[from]; loop >= 0; loop = flow.loop_parent[loop]) {
        bool yes_in = flow.loop_contains(loop, flow.at(yes)), no_in = flow.loop_contains(loop, flow.at(no));
        if (yes_in != no_in) return yes_in ? stay_in_loop : 1.0 - stay_in_loop;
        if (yes_in) break; // both stay
    }
    if (returns(yes) != returns(no)) return returns(yes) ? way_to_return : 1.0 - way_to_return;
    return 0.5;
}

} // namespace

bool FLOW::loop_contains(int header, int b) const {
    if (header < 0) return true;
    int loop = loop_of[b];
    while (loop >= 0 && loop_depth[loop] > loop_depth[header]) loop = loop_parent[loop];
    return loop == header;
}

int FLOW::common_loop(int a, int b) const {
    int la = loop_of[a], lb = loop_of[b];
    while (la != lb)
        if (lb < 0 || (la >= 0 && loop_depth[la] >= loop_depth[lb]))
            la = loop_parent[la];
        else
            lb = loop_parent[lb];
    return la;
}

double FLOW::false_probability(int from) const { return 1.0 - true_probability(*this, from, end[from]); }

double FLOW::probability(int from, const BBLK* to) const {
    if (ways[from] < 2) return 1.0;
    if (end[from]->op != IF) return 1.0 / ways[from];
    double p = true_probability(*this, from, end[from]);
    return end[from]->right->left->lbl->bb == to ? p : 1.0 - p;
}

FLOW FLOW::of_current_function() {
    FLOW flow;
    find_order(flow);
    find_dominators(flow);
    find_loops(flow);
    estimate_frequencies(flow);
    return flow;
}
