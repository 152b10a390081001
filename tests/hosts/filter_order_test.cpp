#include "hosts/filter_order.h"

#include <algorithm>

#include "hosts/filter_fixture.h"

namespace {

struct FILTER_ORDER_TEST : FILTER_TABLE_TEST {
    // The order of the test's own filters; the built-in ones around them keep out of it.
    static STEPS names(const FILTER_ORDER& order) {
        STEPS found;
        for (const FILTER* filter : order)
            if (filter->name[1] == 0) found.push_back(filter->name);
        return found;
    }
    static int place(const FILTER_ORDER& order, const FILTER* filter) {
        return int(std::find(order.begin(), order.end(), filter) - order.begin());
    }
};

TEST_F(FILTER_ORDER_TEST, ListsMovesAndPutsInPlace) {
    add("z", FILTER_F_ORDER_LAST);
    FILTER* a = add("a");
    add("b");
    add("s", FILTER_F_AUDIO);
    add("d", FILTER_F_DISPLAY);
    add("m", FILTER_F_DEINTERLACE_METHOD);
    add("f", FILTER_F_ORDER_FIRST);
    FILTER none = record("n", 0);
    none.func_proc = nullptr;
    add(none);
    start();
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"}));
    EXPECT_EQ(names(filter_order_now(true)), (STEPS{"s"}));

    FILTER_ORDER order = filter_order_now(false);
    const int n = int(order.size()), from = place(order, a);
    EXPECT_FALSE(filter_order_move(&order, 0, -1));
    EXPECT_FALSE(filter_order_move(&order, -1, 0));
    EXPECT_FALSE(filter_order_move(&order, n - 1, n));
    EXPECT_TRUE(filter_order_move(&order, from, n - 1));
    EXPECT_EQ(names(order), (STEPS{"f", "b", "z", "a"}));
    EXPECT_TRUE(filter_order_move(&order, n - 1, 0));
    EXPECT_EQ(names(order), (STEPS{"a", "f", "b", "z"}));
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"})) << "a copy until it is applied";
    filter_order_apply(order);
    EXPECT_EQ(names(filter_order_now(false)), names(order));

    // A place outside of the chain: only the initial order brings the filter back.
    a->chain_order = 200;
    filter_chain_rebuild();
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "b", "z"}));
    filter_order_apply(filter_order_now(false));
    EXPECT_EQ(a->chain_order, 200);
    filter_order_apply(filter_order_initial(false));
    EXPECT_EQ(names(filter_order_now(false)), (STEPS{"f", "a", "b", "z"}));
}

}  // namespace
