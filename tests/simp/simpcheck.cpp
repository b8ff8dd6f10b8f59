// simpcheck: random trees through the simplifier; what they compute must stay the same.
//
//     simpcheck [--seed N] [--trees N] [--prove N] [--cross N] [--seconds S] [--size N] [--modes M,..]
//               [--ops NAME,..] [--plain] [--tree K] [--inputs N] [--timeout MS] [--max-failures N] [--coverage]
//               [--idempotence] [--verbose]
//
// Trees are numbered from 0; tree K of a seed is always the same one. A failing tree is shrunk, then printed with what
// it became, the input, and the rules that fired. Trees run in batches, each in a process of its own, so that a crash
// or a hang is found and shrunk like any other failure. Exit status 1 if anything failed.
//
//     --modes        what is done to a tree (check.h): one of these at random, several times the same weighs more
//     --plain        integers only, no effects, no memory
//     --tree         that tree alone, with its text; with --prove 1 the prover's tree of that number
//     --prove        so many further trees, integers without effects, go to the SMT prover; --timeout: for one question
//     --cross        so many trees run unsimplified in the interpreter and in the evaluator, which must agree
//     --idempotence  a tree that changes when it is simplified again counts as a failure
//     --coverage     lists the rules that never fired
#include "check.h"
#include "cross.h"
#include "prove.h"
#include "tree_gen.h"

#include "ir/opt_expr.h"
#include "simp/rules.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct OPTIONS {
    uint64_t seed = 1;
    uint64_t trees = 20000;
    double seconds = 0; // 0: no limit
    int inputs = 40;
    uint64_t prove = 0, cross = 0;
    unsigned timeout = 200; // milliseconds a question of the prover
    int max_failures = 10;
    int64_t only = -1; // one tree alone
    bool coverage = false, idempotence = false, verbose = false;
    std::vector<MODE> modes{M_TREE};
    TREE_OPTIONS tree;
};
OPTIONS options;

constexpr size_t max_rules = 4000;

// What the processes share.
struct SHARED {
    uint64_t at; // number of the tree in work
    uint64_t failures;
    uint64_t told; // of them, not like one before
    uint64_t crashes;
    CHECK_COUNTS counts;
    uint64_t not_idempotent[256];      // by the operator where the second result differs first
    uint64_t idempotence_example[256]; // number of a tree
    uint64_t allowance_exceeded;
    uint64_t fired[max_rules];
    uint64_t verdicts[NOT_INTEGER + 1];
    uint64_t crossed;
    uint64_t known[500]; // hashes of the failures told
};
SHARED* shared;

double now() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

template <typename F> void for_each_rule(F&& visit) {
    size_t i = 0;
    for (const RULE_SET* set = RULE_SET::first(); set != nullptr; set = set->next())
        for (size_t r = 0; r < set->size() && i < max_rules; r++) visit(*set, set->rule(r), i++);
}

uint64_t tree_seed(uint64_t number) { return RANDOM(options.seed * 0x9E3779B97F4A7C15 + number).next(); }
MODE mode_of(uint64_t number) { return options.modes[RANDOM(number ^ 0x5555).next() % options.modes.size()]; }

CHECK check_of(uint64_t number) {
    CHECK check;
    check.seed = tree_seed(number);
    check.inputs = options.inputs;
    check.mode = mode_of(number);
    check.must_be_idempotent = options.idempotence;
    return check;
}

// Runs in a process of its own; true if it found a failure or did not come back.
bool fails_in_process(const CHECK& check, const NODE* tree) {
    pid_t child = fork();
    if (child == 0) {
        alarm(5);
        freopen("/dev/null", "w", stderr);
        _exit(check.run(tree).what.empty() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return !WIFEXITED(status) || WEXITSTATUS(status) != 0;
}

std::string fired_text(const std::function<void()>& action) {
    std::vector<uint64_t> before;
    for_each_rule([&](const RULE_SET&, const RULE& rule, size_t) { before.push_back(rule.fired); });
    action();
    std::string text;
    for_each_rule([&](const RULE_SET& set, const RULE& rule, size_t i) {
        if (rule.fired == before[i]) return;
        if (!text.empty()) text += ", ";
        text += std::string(set.name()) + "." + rule.name;
    });
    return text.empty() ? "none" : text;
}

uint64_t hash_text(const std::string& text) {
    uint64_t h = 1469598103934665603u;
    for (char c : text) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return h;
}

// True the first time. Failures with the same rules on the same minimal operator are one.
bool is_new(const std::string& key) {
    uint64_t h = hash_text(key);
    for (uint64_t& known : shared->known) {
        if (known == h) return false;
        if (known == 0) {
            known = h;
            break;
        }
    }
    shared->told++;
    return true;
}

void tell(uint64_t number, CHECK check, const NODE* tree, const FINDING& first) {
    check.first_input = first.has_input ? &first.input : nullptr;
    check.counts = nullptr;
    NODE* small = shrink_tree(
        tree, [&](const NODE* t) { return !check.run(t).what.empty(); }, 20);
    FINDING found;
    std::string rules = fired_text([&] { found = check.run(small); });
    shared->failures++;
    if (!is_new(found.what + rules + opname(small->op)) && !options.verbose) return;
    printf("FAILURE, tree %llu of seed %llu (%s): %s\n", static_cast<unsigned long long>(number),
           static_cast<unsigned long long>(options.seed), mode_names[check.mode], found.what.c_str());
    printf("  before: %s\n  after:  %s\n", typed_text(small).c_str(), found.after.c_str());
    if (found.has_input) printf("  input:  %s\n", input_text(CODE(small), found.input).c_str());
    if (!found.detail.empty()) printf("  gives:  %s\n", found.detail.c_str());
    printf("  rules:  %s\n", rules.c_str());
    fflush(stdout);
}

const NODE* first_difference(const NODE* a, const NODE* b) {
    while (a->op == b->op && a->left != nullptr && b->left != nullptr) {
        if (!trees_are_congruent_se_ok(a->left, b->left))
            a = a->left, b = b->left;
        else if (a->right != nullptr && b->right != nullptr && !trees_are_congruent_se_ok(a->right, b->right))
            a = a->right, b = b->right;
        else
            break;
    }
    return a;
}

void check_tree(uint64_t number) {
    shared->at = number;
    NODE* tree = random_tree(tree_seed(number), options.tree);
    CHECK check = check_of(number);
    if (options.verbose)
        printf("%llu: %s\n", static_cast<unsigned long long>(number), typed_text(tree).c_str()), fflush(stdout);
    check.counts = &shared->counts;
    check.not_idempotent = [&](const NODE* once, const NODE* twice) {
        int op = first_difference(once, twice)->op & 255;
        if (shared->not_idempotent[op]++ == 0) shared->idempotence_example[op] = number;
        if (options.verbose) printf("  once:  %s\n  twice: %s\n", typed_text(once).c_str(), typed_text(twice).c_str());
    };
    alarm(10);
    FINDING found = check.run(tree);
    alarm(0);
    if (options.verbose) printf("  %s\n", found.after.c_str());
    if (!found.what.empty()) tell(number, check, tree, found);
    erase_tree(tree);
}

TREE_OPTIONS provable_trees() {
    TREE_OPTIONS t = options.tree;
    t.effects = t.floats = t.statements = false;
    t.pointers = false;
    t.max_size = std::min(t.max_size, 14);
    return t;
}

TREE_OPTIONS comparable_trees() {
    TREE_OPTIONS t = options.tree;
    t.volatiles = t.statements = false;
    return t;
}

enum JOB { CHECKING, PROVING, CROSSING };

NODE* tree_of(JOB job, uint64_t number) {
    switch (job) {
    case PROVING: return random_tree(tree_seed(~number), provable_trees());
    case CROSSING: return random_tree(tree_seed(number * 3), comparable_trees());
    default: return random_tree(tree_seed(number), options.tree);
    }
}

void prove_tree(uint64_t number) {
    shared->at = number;
    static PROVER prover(options.timeout);
    NODE* tree = tree_of(PROVING, number);
    if (options.verbose)
        printf("%llu: %s\n", static_cast<unsigned long long>(number), typed_text(tree).c_str()), fflush(stdout);
    FINDING found;
    alarm(60);
    VERDICT verdict = prover.prove(tree, found);
    alarm(0);
    shared->verdicts[verdict]++;
    if (options.verbose) {
        static const char* const names[] = {"proved", "disproved", "unknown", "not integer"};
        printf("  %s\n  %s\n", found.after.c_str(), names[verdict]);
    }
    if (verdict == DISPROVED) {
        NODE* small = shrink_tree(
            tree, [&](const NODE* t) { return prover.prove(t, found) == DISPROVED; }, 30);
        std::string rules = fired_text([&] { prover.prove(small, found); });
        shared->failures++;
        if (is_new("prove" + rules + opname(small->op)) || options.verbose) {
            CHECK check;
            check.first_input = &found.input;
            FINDING confirmed = check.run(small);
            printf("FAILURE, tree %llu of seed %llu (prover): %s\n", static_cast<unsigned long long>(number),
                   static_cast<unsigned long long>(options.seed), found.what.c_str());
            printf("  before: %s\n  after:  %s\n  input:  %s\n  rules:  %s\n", typed_text(small).c_str(),
                   found.after.c_str(), found.detail.c_str(), rules.c_str());
            printf("  evaluator: %s %s\n", confirmed.what.empty() ? "finds nothing wrong" : confirmed.what.c_str(),
                   confirmed.detail.c_str());
            fflush(stdout);
        }
    }
    erase_tree(tree);
}

void cross_tree(uint64_t number) {
    shared->at = number;
    NODE* tree = tree_of(CROSSING, number);
    std::string difference = cross_check(tree, tree_seed(number), 6, shared->crossed);
    if (!difference.empty()) {
        NODE* small = shrink_tree(
            tree,
            [&](const NODE* t) {
                uint64_t unused = 0;
                return !cross_check(t, tree_seed(number), 6, unused).empty();
            },
            20);
        uint64_t unused = 0;
        difference = cross_check(small, tree_seed(number), 6, unused);
        shared->failures++;
        printf("FAILURE, tree %llu of seed %llu (evaluator and interpreter): %s\n  tree:   %s\n",
               static_cast<unsigned long long>(number), static_cast<unsigned long long>(options.seed),
               difference.c_str(), typed_text(small).c_str());
        fflush(stdout);
    }
    erase_tree(tree);
}

// Does the job on trees [from, to) in a child; returns the number of the tree to go on with.
uint64_t run_batch(uint64_t from, uint64_t to, double end, JOB job) {
    shared->at = from;
    fflush(stdout);
    pid_t child = fork();
    if (child == 0) {
        uint64_t i = from;
        for (; i < to; i++) {
            if (end != 0 && now() >= end) break;
            if (shared->told >= static_cast<uint64_t>(options.max_failures)) break;
            (job == PROVING ? prove_tree : job == CROSSING ? cross_tree : check_tree)(i);
        }
        shared->at = i;
        for_each_rule([](const RULE_SET&, const RULE& rule, size_t n) { shared->fired[n] += rule.fired; });
        shared->allowance_exceeded += simp_allowance_exceeded;
        fflush(stdout);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return shared->at;
    // The tree in work ended the process.
    uint64_t number = shared->at;
    shared->failures++;
    shared->crashes++;
    NODE* tree = tree_of(job, number);
    CHECK check = job == CHECKING ? check_of(number) : CHECK();
    NODE* small = shrink_tree(
        tree, [&](const NODE* t) { return fails_in_process(check, t); }, 30);
    const char* how = WIFSIGNALED(status)
                          ? (WTERMSIG(status) == SIGALRM ? "no end within 10 seconds" : strsignal(WTERMSIG(status)))
                          : "the run was ended";
    if (is_new(std::string(how) + typed_text(small)))
        printf("CRASH, tree %llu of seed %llu (%s): %s\n  before: %s\n", static_cast<unsigned long long>(number),
               static_cast<unsigned long long>(options.seed), mode_names[check.mode], how, typed_text(small).c_str());
    return number + 1;
}

[[noreturn]] void usage() {
    fprintf(stderr, "usage: simpcheck [--seed N] [--trees N] [--prove N] [--cross N] [--seconds S] [--size N]\n"
                    "                 [--modes tree,control,..|all] [--ops NAME,..] [--plain] [--tree K] [--inputs N] "
                    "[--timeout MS]\n"
                    "                 [--max-failures N] [--coverage] [--idempotence] [--verbose]\n");
    exit(2);
}

std::vector<std::string> words(const char* text) {
    std::vector<std::string> list(1);
    for (; *text != 0; text++)
        if (*text == ',')
            list.emplace_back();
        else
            list.back() += *text;
    return list;
}

void read_options(int argc, char** argv) {
    for (int i = 1; i < argc; i++) {
        std::string name = argv[i];
        auto argument = [&] { return i + 1 < argc ? argv[++i] : (usage(), nullptr); };
        if (name == "--seed")
            options.seed = strtoull(argument(), nullptr, 0);
        else if (name == "--trees")
            options.trees = strtoull(argument(), nullptr, 0);
        else if (name == "--seconds")
            options.seconds = atof(argument()), options.trees = UINT64_MAX;
        else if (name == "--prove")
            options.prove = strtoull(argument(), nullptr, 0);
        else if (name == "--cross")
            options.cross = strtoull(argument(), nullptr, 0);
        else if (name == "--timeout")
            options.timeout = static_cast<unsigned>(atoi(argument()));
        else if (name == "--size")
            options.tree.max_size = atoi(argument());
        else if (name == "--inputs")
            options.inputs = atoi(argument());
        else if (name == "--max-failures")
            options.max_failures = atoi(argument());
        else if (name == "--tree")
            options.only = atoll(argument());
        else if (name == "--coverage")
            options.coverage = true;
        else if (name == "--idempotence")
            options.idempotence = true;
        else if (name == "--verbose")
            options.verbose = true;
        else if (name == "--plain")
            options.tree.effects = options.tree.memory = options.tree.pointers = options.tree.floats =
                options.tree.statements = false;
        else if (name == "--modes") {
            options.modes.clear();
            for (const std::string& word : words(argument()))
                for (int m = 0; m < M_COUNT; m++)
                    if (word == mode_names[m] || word == "all") options.modes.push_back(static_cast<MODE>(m));
            if (options.modes.empty()) usage();
        } else if (name == "--ops") {
            options.tree.ops.reset();
            for (const std::string& word : words(argument())) {
                bool known = false;
#define OPCODE(no, opcode, text, n, op, inv, com, cls, flags)                                                          \
    if (word == #opcode) options.tree.ops.set(no), known = true;
#include "ir/opcodes.def"
                if (!known) usage();
            }
        } else
            usage();
    }
}

void report(double seconds) {
    const CHECK_COUNTS& c = shared->counts;
    auto u = [](uint64_t v) { return static_cast<unsigned long long>(v); };
    printf("%llu trees, %llu inputs (%.0f%% undefined; %llu trees without a defined one), %.1f s\n", u(c.trees),
           u(c.inputs), c.inputs != 0 ? 100.0 * static_cast<double>(c.undefined) / static_cast<double>(c.inputs) : 0.0,
           u(c.vacuous), seconds);
    printf("nodes %llu -> %llu; %llu trees change when simplified twice; allowance exceeded %llu times\n",
           u(c.nodes_before), u(c.nodes_after), u(c.not_idempotent), u(shared->allowance_exceeded));
    if (options.cross != 0) printf("interpreter and evaluator compared on %llu inputs\n", u(shared->crossed));
    if (options.prove != 0)
        printf("proved %llu, disproved %llu, unknown %llu, not for the prover %llu\n", u(shared->verdicts[PROVED]),
               u(shared->verdicts[DISPROVED]), u(shared->verdicts[UNKNOWN]), u(shared->verdicts[NOT_INTEGER]));
    for (int op = 0; op < 256; op++)
        if (shared->not_idempotent[op] != 0)
            printf("  changes at %s: %llu trees, for example tree %llu\n", opname(op), u(shared->not_idempotent[op]),
                   u(shared->idempotence_example[op]));
    if (options.coverage)
        for_each_rule([&](const RULE_SET& set, const RULE& rule, size_t i) {
            if (shared->fired[i] == 0) printf("  never fired: %s.%s: %s\n", set.name(), rule.name, rule.shape);
        });
    if (shared->failures != 0) printf("%llu FAILURES\n", u(shared->failures));
}

} // namespace

int main(int argc, char** argv) {
    read_options(argc, argv);
    make_world();
    shared =
        static_cast<SHARED*>(mmap(nullptr, sizeof(SHARED), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (shared == MAP_FAILED) return perror("mmap"), 2;
    double start = now();
    if (options.only >= 0) {
        options.verbose = true;
        run_batch(static_cast<uint64_t>(options.only), static_cast<uint64_t>(options.only) + 1, 0,
                  options.prove != 0   ? PROVING
                  : options.cross != 0 ? CROSSING
                                       : CHECKING);
    } else {
        double end = options.seconds != 0 ? start + options.seconds : 0;
        struct {
            JOB job;
            uint64_t trees, batch;
        } const work[] = {
            {CROSSING, options.cross, 1000}, {CHECKING, options.trees, 5000}, {PROVING, options.prove, 250}};
        for (auto& [job, trees, batch] : work)
            for (uint64_t at = 0; at < trees && (end == 0 || now() < end);) {
                at = run_batch(at, std::min(at + batch, trees), end, job);
                if (shared->told >= static_cast<uint64_t>(options.max_failures)) break;
            }
    }
    report(now() - start);
    return shared->failures != 0 || shared->allowance_exceeded != 0;
}
