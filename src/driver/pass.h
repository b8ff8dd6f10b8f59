// pass: one named step of the pipeline. pass_manager: the steps of the run by serial number.
#ifndef DRIVER_PASS_H
#define DRIVER_PASS_H

#include <string>
#include <vector>

// An object with a serial number, its place in the manager that owns the numbering. Construction makes the place, which
// the object itself fills in (before that it is no OBJECT yet); destruction clears it.
template <typename OBJECT, typename MANAGER> class serial_object {
  public:
    explicit serial_object(MANAGER& owner) : serial(static_cast<int>(owner.objects.size())), manager(&owner) {
        owner.objects.push_back(nullptr);
    }
    virtual ~serial_object() { manager->objects[static_cast<size_t>(serial)] = nullptr; }
    serial_object(const serial_object&) = delete;
    serial_object& operator=(const serial_object&) = delete;

    const int serial;
    MANAGER* const manager;
};

class pass;
struct pass_manager {
    std::vector<pass*> objects;
};
extern pass_manager global_pass_manager;

class pass : public serial_object<pass, pass_manager> {
  public:
    using ACTION = void (*)();
    pass(std::string step_name, ACTION step_action, bool may_be_left_out, pass_manager& owner = global_pass_manager)
        : serial_object(owner), name(std::move(step_name)), action(step_action), optional(may_be_left_out) {
        owner.objects[static_cast<size_t>(serial)] = this;
    }
    ~pass() override = default;
    virtual bool is_barrier() const { return false; }

    // Runs the action, with the log around it; then, if asked for, the validators. An optional step beyond the limit of
    // --debug:step_limit is passed over.
    void run();

    const std::string name;
    const ACTION action;
    const bool optional;
};

class barrier_pass final : public pass {
  public:
    using pass::pass;
    bool is_barrier() const override { return true; }
};

// Whether the next optional thing may be done: counts (function, step) pairs against --debug:step_limit=N. When the
// limit is reached, the last one that ran is named on standard error.
bool step_gate(const char* what);
void reset_step_gate();

#endif
