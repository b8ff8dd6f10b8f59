// Which locals are certainly written before they are read.
//
// The code generator puts a check in front of every read of a local that lives in a slot. Most are certain to pass: a
// forward analysis over the blocks of the code finds the locals that every path to a read has written, and their checks
// go. The locals of the checks that remain get a flag, a slot that is 0 at entry and set to 1 behind each write.
#include "gen.h"

#include <algorithm>

namespace {

struct FLOW {
    const std::vector<INSN>& code;
    const std::vector<JUMP_TABLE>& tables;
    std::vector<int> bit_of; // by slot: number of the local among those checked, or -1
    size_t locals = 0, words = 0;
    std::vector<uint32_t> starts;   // first instruction of each block
    std::vector<uint32_t> block_at; // by instruction
    std::vector<uint64_t> in, out;  // by block, `words` words each: certainly written
    std::vector<std::vector<uint32_t>> successors;

    FLOW(const std::vector<INSN>& c, const std::vector<JUMP_TABLE>& t, uint32_t slots)
        : code(c), tables(t), bit_of(slots, -1) {
        for (const INSN& i : code)
            if (i.op == B_CHECK && bit_of[i.a] < 0) bit_of[i.a] = static_cast<int>(locals++);
        words = (locals + 63) / 64;
    }

    static bool is_jump(const INSN& i) { return i.op >= B_JEQ_RR && i.op <= B_JMP; }
    static bool ends_block(const INSN& i) {
        return is_jump(i) || i.op == B_SELECT || i.op == B_RET || i.op == B_RET_VOID || i.op == B_STOP;
    }

    template <typename F> void for_each_target(const INSN& i, F&& visit) const {
        if (is_jump(i)) visit(static_cast<uint32_t>(i.y));
        if (i.op != B_SELECT) return;
        const JUMP_TABLE& t = tables[static_cast<size_t>(i.x)];
        for (const auto& c : t.cases) visit(c.second);
        visit(t.otherwise);
    }

    void find_blocks() {
        std::vector<bool> leads(code.size() + 1, false);
        leads[0] = true;
        for (size_t i = 0; i < code.size(); ++i) {
            for_each_target(code[i], [&](uint32_t to) { leads[to] = true; });
            if (ends_block(code[i])) leads[i + 1] = true;
        }
        block_at.resize(code.size());
        for (size_t i = 0; i < code.size(); ++i) {
            if (leads[i]) starts.push_back(static_cast<uint32_t>(i));
            block_at[i] = static_cast<uint32_t>(starts.size() - 1);
        }
        successors.resize(starts.size());
        for (size_t b = 0; b < starts.size(); ++b) {
            const INSN& last = code[end_of(b) - 1];
            for_each_target(last, [&](uint32_t to) { successors[b].push_back(block_at[to]); });
            bool goes_on = !ends_block(last) || (is_jump(last) && last.op != B_JMP);
            if (goes_on && b + 1 < starts.size()) successors[b].push_back(static_cast<uint32_t>(b + 1));
        }
    }
    size_t end_of(size_t b) const { return b + 1 < starts.size() ? starts[b + 1] : code.size(); }

    int written_by(const INSN& i) const { return writes_slot_a[i.op] ? bit_of[i.a] : -1; }
    static bool get(const uint64_t* set, int bit) { return (set[bit / 64] >> (bit % 64)) & 1; }
    static void put(uint64_t* set, int bit) { set[bit / 64] |= uint64_t{1} << (bit % 64); }

    // Intersection over all paths; a block that no path reaches keeps the full set, so its checks go.
    void solve() {
        in.assign(starts.size() * words, ~uint64_t{0});
        out = in;
        std::fill(in.begin(), in.begin() + static_cast<ptrdiff_t>(words), 0);
        std::vector<bool> queued(starts.size(), false);
        std::vector<uint32_t> work;
        for (size_t b = starts.size(); b-- > 0;) work.push_back(static_cast<uint32_t>(b)), queued[b] = true;
        std::vector<uint64_t> set(words);
        while (!work.empty()) {
            size_t b = work.back();
            work.pop_back();
            queued[b] = false;
            std::copy_n(&in[b * words], words, set.begin());
            for (size_t i = starts[b]; i < end_of(b); ++i)
                if (int bit = written_by(code[i]); bit >= 0) put(set.data(), bit);
            if (std::equal(set.begin(), set.end(), &out[b * words])) continue;
            std::copy_n(set.begin(), words, &out[b * words]);
            for (uint32_t s : successors[b]) {
                bool changed = false;
                for (size_t w = 0; w < words; ++w) {
                    uint64_t both = in[s * words + w] & set[w];
                    changed |= both != in[s * words + w];
                    in[s * words + w] = both;
                }
                if (changed && !queued[s]) work.push_back(s), queued[s] = true;
            }
        }
    }

    // Marks the checks that must stay.
    std::vector<bool> checks_that_stay() {
        std::vector<bool> stays(code.size(), false);
        std::vector<uint64_t> set(words);
        for (size_t b = 0; b < starts.size(); ++b) {
            std::copy_n(&in[b * words], words, set.begin());
            for (size_t i = starts[b]; i < end_of(b); ++i) {
                if (int bit = written_by(code[i]); bit >= 0) put(set.data(), bit);
                if (code[i].op != B_CHECK) continue;
                int bit = bit_of[code[i].a];
                stays[i] = !get(set.data(), bit);
                put(set.data(), bit); // behind the check it is certain
            }
        }
        return stays;
    }
};

INSN set_flag(uint32_t slot, int64_t value) {
    INSN i;
    i.op = B_MOVI;
    i.a = static_cast<uint16_t>(slot);
    i.imm = value;
    return i;
}

} // namespace

bool settle_checks(std::vector<INSN>& code, std::vector<uint32_t>& position_of, std::vector<JUMP_TABLE>& tables,
                   uint32_t& slots) {
    FLOW flow(code, tables, slots);
    if (flow.locals == 0) return true;
    flow.find_blocks();
    flow.solve();
    std::vector<bool> stays = flow.checks_that_stay();

    std::vector<uint32_t> flag_of(slots, 0); // slot of the local's flag, 0 if it needs none
    std::vector<uint32_t> flags;
    for (size_t i = 0; i < code.size(); ++i)
        if (code[i].op == B_CHECK && stays[i] && flag_of[code[i].a] == 0) {
            flag_of[code[i].a] = slots + static_cast<uint32_t>(flags.size());
            flags.push_back(flag_of[code[i].a]);
        }
    if (slots + flags.size() >= UINT16_MAX) return false;
    slots += static_cast<uint32_t>(flags.size());

    std::vector<INSN> new_code;
    std::vector<uint32_t> new_positions;
    std::vector<uint32_t> moved_to(code.size() + 1);
    auto add = [&](const INSN& i, uint32_t position) {
        new_code.push_back(i);
        new_positions.push_back(position);
    };
    for (uint32_t f : flags) add(set_flag(f, 0), position_of[0]);
    // A jump to the first instruction must not clear the flags again.
    for (size_t i = 0; i < code.size(); ++i) {
        moved_to[i] = static_cast<uint32_t>(new_code.size());
        INSN insn = code[i];
        if (insn.op == B_CHECK) {
            if (!stays[i]) continue;
            insn.a = static_cast<uint16_t>(flag_of[insn.a]);
            add(insn, position_of[i]);
            continue;
        }
        add(insn, position_of[i]);
        if (writes_slot_a[insn.op] && insn.a < flag_of.size() && flag_of[insn.a] != 0)
            add(set_flag(flag_of[insn.a], 1), position_of[i]);
    }
    moved_to[code.size()] = static_cast<uint32_t>(new_code.size());
    for (INSN& i : new_code)
        if (FLOW::is_jump(i)) i.y = static_cast<int32_t>(moved_to[static_cast<size_t>(i.y)]);
    for (JUMP_TABLE& t : tables) {
        for (auto& c : t.cases) c.second = moved_to[c.second];
        t.otherwise = moved_to[t.otherwise];
    }
    code = std::move(new_code);
    position_of = std::move(new_positions);
    return true;
}

void JUMP_TABLE::make_dense() {
    constexpr uint64_t most = 4096;
    if (cases.size() < 4) return;
    uint64_t span = static_cast<uint64_t>(cases.back().first) - static_cast<uint64_t>(cases.front().first);
    if (span >= most || span > cases.size() * 4) return;
    first = cases.front().first;
    dense.assign(span + 1, otherwise);
    for (const auto& c : cases) dense[static_cast<size_t>(c.first - first)] = c.second;
}
