// Linking: several units become one. See load.h.
#include "load.h"

#include "gen.h"
#include "library.h"

#include <algorithm>

namespace {

class LINKER {
  public:
    explicit LINKER(std::vector<UNIT>& units) : units_(units) {}

    UNIT link() {
        for (uint32_t file = 0; file < units_.size(); ++file) {
            note_bodies(units_[file]);
            for (SYMTAB* s : units_[file].globals)
                if (s->sclass != SC_STATIC) meet(s, file);
        }
        look_for_definitions();
        if (!faults_.empty()) throw BAD_FILE{faults_};
        UNIT all;
        for (uint32_t file = 0; file < units_.size(); ++file) take_over(units_[file], file, all);
        return all;
    }

  private:
    // What the files say of one external name.
    struct NAME_INFO {
        const SYMTAB* first = nullptr; // the first symbol of the name, defined or not
        uint32_t first_file = 0;
        SYMTAB* definition = nullptr;
        uint32_t file = 0; // of the definition
    };

    void note_bodies(const UNIT& unit) {
        for (const SOURCE_FUNCTION& f : unit.functions) has_body_.insert(f.symbol);
    }
    bool is_definition(const SYMTAB* s) const {
        return s->otype->is_func() ? has_body_.count(s) != 0 : s->sclass != SC_EXTERN_DECL;
    }
    bool is_weak(const SYMTAB* s, uint32_t file) const { return units_[file].weak.count(s) != 0; }
    const std::string& name_of(uint32_t file) const { return units_[file].files.front(); }

    void fault(const std::string& text) {
        constexpr int most = 20;
        if (++fault_count_ <= most) faults_ += (faults_.empty() ? "" : "\n") + text;
    }

    void meet(SYMTAB* s, uint32_t file) {
        std::string name = c_name(s);
        NAME_INFO& info = names_[name];
        if (info.first == nullptr) {
            info.first = s;
            info.first_file = file;
        } else if (info.first->otype->is_func() != s->otype->is_func()) {
            bool function_first = info.first->otype->is_func();
            fault("symbol '" + name + "' is a function in " + name_of(function_first ? info.first_file : file) +
                  " and an object in " + name_of(function_first ? file : info.first_file));
            if (info.definition == nullptr) info.definition = s; // told once
            return;
        }
        if (!is_definition(s)) return;
        if (info.definition != nullptr && !is_weak(s, file) && !is_weak(info.definition, info.file)) {
            fault("symbol '" + name + "' is defined twice: in " + name_of(info.file) + " and in " + name_of(file));
            return;
        }
        if (info.definition != nullptr && is_weak(s, file)) {
            give_way(s);
            return;
        }
        if (info.definition != nullptr) give_way(info.definition);
        info.definition = s;
        info.file = file;
    }

    void give_way(SYMTAB* s) {
        s->sclass = SC_EXTERN_DECL;
        gone_.insert(s);
    }

    // Declarations that nothing names may stay without a definition.
    void look_for_definitions() {
        std::unordered_set<const SYMTAB*> missing;
        for (uint32_t file = 0; file < units_.size(); ++file)
            for (const SYMTAB* s : units_[file].globals)
                if (s->sclass != SC_STATIC && is_missing(s, file)) missing.insert(s);
        if (missing.empty()) return;
        for (uint32_t file = 0; file < units_.size(); ++file) {
            std::unordered_set<const SYMTAB*> named;
            for (const SOURCE_FUNCTION& f : units_[file].functions)
                for (const STATEMENT& statement : f.statements) note_names(statement.tree, missing, named);
            for (auto& [symbol, list] : units_[file].initialisers)
                for (const EXPR_CELL* cell = list->head; cell != nullptr; cell = cell->next)
                    note_names(cell->node, missing, named);
            for (const SYMTAB* s : units_[file].globals)
                if (named.count(s) != 0)
                    fault("symbol '" + c_name(s) + "' is not defined; " + name_of(file) + " needs it");
        }
    }
    bool is_missing(const SYMTAB* s, uint32_t file) const {
        std::string name = c_name(s);
        if (names_.at(name).definition != nullptr || is_weak(s, file)) return false;
        return s->otype->is_func() ? find_library_function(name) == nullptr : !is_library_object(name);
    }
    static void note_names(const NODE* tree, const std::unordered_set<const SYMTAB*>& of,
                           std::unordered_set<const SYMTAB*>& named) {
        std::vector<const NODE*> work{tree};
        while (!work.empty()) {
            const NODE* n = work.back();
            work.pop_back();
            if (n == nullptr) continue;
            if (n->op == NAME && of.count(n->u.sym) != 0) named.insert(n->u.sym);
            work.push_back(n->left);
            work.push_back(n->right);
        }
    }

    void take_over(UNIT& from, uint32_t file, UNIT& to) {
        to.files.push_back(from.files.front());
        to.weak.merge(from.weak);
        to.optimized |= from.optimized;
        for (SYMTAB* s : from.globals) {
            to.globals.push_back(s);
            std::string key = c_name(s);
            if (s->sclass == SC_STATIC) key += "@" + std::to_string(file);
            to.linkage.push_back({file, std::move(key)});
        }
        for (SOURCE_FUNCTION& f : from.functions) {
            if (gone_.count(f.symbol) != 0) continue;
            f.file = file;
            to.functions.push_back(std::move(f));
        }
        for (auto& [symbol, list] : from.initialisers)
            if (gone_.count(symbol) == 0) to.initialisers.emplace_back(symbol, list);
    }

    std::vector<UNIT>& units_;
    std::unordered_map<std::string, NAME_INFO> names_;
    std::unordered_set<const SYMTAB*> has_body_, gone_; // gone: definitions that gave way
    std::string faults_;
    int fault_count_ = 0;
};

} // namespace

UNIT link_units(std::vector<UNIT> units) {
    if (units.size() == 1) return std::move(units.front());
    return LINKER(units).link();
}
