// Which symbol a name stands for at a place of the file: followed record by record by printer, parser and checker, with
// the same rules as the reader of the binary form.
#ifndef NXTEXT_SCOPE_H
#define NXTEXT_SCOPE_H

#include "document.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace nxtext {

constexpr uint32_t no_symbol = UINT32_MAX; // scope of a NAME without symbol

struct SCOPE {
    struct LOCAL {
        std::string name;
        uint32_t type;
        uint32_t depth; // the scope that a NAME of it carries
        uint8_t sclass;
        bool open; // its block has not ended
    };
    struct PLACE {
        uint32_t scope, index;
    };

    const DOCUMENT& doc;
    std::vector<LOCAL> locals;
    uint32_t depth = 0;
    int64_t function = -1; // index of the current function's symbol, -1 outside

    explicit SCOPE(const DOCUMENT& d) : doc(d) {}

    // A new global has been appended to the document.
    void global_added() {
        global_names[doc.globals.back().name].push_back(static_cast<uint32_t>(doc.globals.size() - 1));
    }
    void all_globals() {
        for (size_t i = 0; i < doc.globals.size(); i++)
            global_names[doc.globals[i].name].push_back(static_cast<uint32_t>(i));
    }
    void begin_function(uint32_t global) {
        function = global;
        depth = 1;
        locals.clear();
        names.clear();
        block_starts.clear();
    }
    void end_args() { depth = 2; }
    void begin_block() {
        block_starts.push_back(locals.size());
        depth++;
    }
    bool end_block() { // false: no block is open
        if (block_starts.empty()) return false;
        for (size_t i = block_starts.back(); i < locals.size(); i++) locals[i].open = false;
        block_starts.pop_back();
        depth--;
        return true;
    }
    bool in_block() const { return !block_starts.empty(); }
    void end_function() {
        depth = 0;
        function = -1;
    }
    void declare(const SYMBOL_REC& s) {
        names[s.name].push_back(static_cast<uint32_t>(locals.size()));
        locals.push_back({s.name, s.type, depth, s.sclass, true});
    }

    // The bare name: the local declared last in an open block, else the first global.
    bool find(const std::string& name, PLACE& place) const {
        const auto local = names.find(name);
        if (local != names.end())
            for (auto i = local->second.rbegin(); i != local->second.rend(); ++i)
                if (locals[*i].open) {
                    place = {locals[*i].depth, *i};
                    return true;
                }
        return find_global(name, place);
    }
    bool find_global(const std::string& name, PLACE& place) const {
        const auto global = global_names.find(name);
        if (global == global_names.end()) return false;
        place = {0, global->second.front()};
        return true;
    }
    // The parameter of that name, the first one.
    bool find_parameter(const std::string& name, PLACE& place) const {
        const auto local = names.find(name);
        if (local == names.end() || locals[local->second.front()].depth != 1) return false;
        place = {1, local->second.front()};
        return true;
    }
    const std::string* name_of(PLACE p) const {
        if (p.scope == 0) return p.index < doc.globals.size() ? &doc.globals[p.index].name : nullptr;
        return p.scope != no_symbol && p.index < locals.size() ? &locals[p.index].name : nullptr;
    }
    uint32_t type_of(PLACE p) const { // 0 if there is none
        if (p.scope == 0) return p.index < doc.globals.size() ? doc.globals[p.index].type : 0;
        return p.scope != no_symbol && p.index < locals.size() ? locals[p.index].type : 0;
    }

  private:
    std::unordered_map<std::string, std::vector<uint32_t>> names, global_names;
    std::vector<size_t> block_starts;
};

} // namespace nxtext

#endif
