// The table of steps: its order has reasons, and each reason must hold.
#include "driver/steps.h"

#include <gtest/gtest.h>

TEST(steps, order_has_its_reasons) {
    build_step_table();
    make_last_step();
    const std::vector<pass*>& all = global_pass_manager.objects;
    ASSERT_EQ(all.size(), 53u);
    auto first_place = [&](const std::string& name) {
        for (const pass* p : all)
            if (p->name == name) return p->serial;
        ADD_FAILURE() << "no step " << name;
        return -1;
    };
    for (int i = 0; i < step_order_count; i++)
        EXPECT_LT(first_place(step_order[i].first), first_place(step_order[i].second)) << step_order[i].why;
    int last_barrier = -1;
    for (const pass* p : all)
        if (p->is_barrier()) last_barrier = p->serial;
    EXPECT_EQ(last_barrier, 3); // every step behind runs function by function
    EXPECT_EQ(all.back()->name, "pass 2 trailer");
    EXPECT_FALSE(all.back()->optional);
    free_step_table();
}
