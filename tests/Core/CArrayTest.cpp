#include "Core/CArray.h"

#include <gtest/gtest.h>

#include <vector>

using orl::CArray;

namespace {

// Counts live instances and records the ids of destroyed ones (moved-from shells carry -1
// and are not recorded), so that order and leaks can be checked.
struct Tracked {
    static inline int live = 0;
    static inline std::vector<int> destroyed;
    int id;
    explicit Tracked(int i) : id(i) { ++live; }
    Tracked(const Tracked& o) : id(o.id) { ++live; }
    Tracked(Tracked&& o) noexcept : id(o.id) {
        o.id = -1;
        ++live;
    }
    Tracked& operator=(const Tracked&) = default;
    ~Tracked() {
        --live;
        if (id >= 0) destroyed.push_back(id);
    }
    bool operator==(const Tracked& o) const { return id == o.id; }
};

class CArrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        Tracked::live = 0;
        Tracked::destroyed.clear();
    }
    void TearDown() override { EXPECT_EQ(Tracked::live, 0); }
};

template <class A>
std::vector<int> ids(const A& a) {
    std::vector<int> v;
    for (const Tracked& t : a) v.push_back(t.id);
    return v;
}

// Adds 0..n-1 and returns each capacity the array passes through.
template <class A>
std::vector<int> capacitiesWhileAdding(A& a, int n) {
    std::vector<int> capacities{a.capacity()};
    for (int i = 0; i < n; ++i) {
        a.add(i);
        if (a.capacity() != capacities.back()) capacities.push_back(a.capacity());
    }
    return capacities;
}

}  // namespace

TEST_F(CArrayTest, GrowthSequence) {
    // count + count * 10 / 16 + 1, starting from the inline room.
    CArray<int> a;
    EXPECT_TRUE(a.isInline());
    EXPECT_EQ(capacitiesWhileAdding(a, 60), (std::vector<int>{4, 7, 12, 20, 33, 54, 88}));
    EXPECT_FALSE(a.isInline());
    for (int i = 0; i < 60; ++i) EXPECT_EQ(a[i], i);
    CArray<int, 0> z;
    EXPECT_EQ(capacitiesWhileAdding(z, 8), (std::vector<int>{0, 1, 2, 4, 7, 12}));

    CArray<int> r;
    r.reserve(3);  // fits inline: nothing changes
    EXPECT_TRUE(r.isInline());
    r.reserve(9);
    EXPECT_EQ(r.capacity(), 9);
}

TEST_F(CArrayTest, DestroysLastToFirstWithoutLeaks) {
    {
        CArray<Tracked> a;
        for (int i = 0; i < 10; ++i) a.emplace(i);
        EXPECT_EQ(Tracked::live, 10);
        EXPECT_TRUE(Tracked::destroyed.empty());  // growth moves items, it destroys none
    }
    EXPECT_EQ(Tracked::destroyed, (std::vector<int>{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));

    CArray<Tracked, 2> b;
    for (int i = 0; i < 3; ++i) b.emplace(i);
    Tracked::destroyed.clear();
    b.clear();
    EXPECT_EQ(Tracked::destroyed, (std::vector<int>{2, 1, 0}));
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(Tracked::live, 0);
}

TEST_F(CArrayTest, InsertRemoveAndAddOwnElement) {
    CArray<Tracked> a;
    a.emplace(1);
    a.emplace(3);
    a.insert(0, Tracked(0));
    a.insert(2, Tracked(2));
    a.insert(4, Tracked(4));  // at the end, and past the inline room
    EXPECT_EQ(ids(a), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(a.indexOf(Tracked(3)), 3);
    EXPECT_EQ(a.indexOf(Tracked(7)), -1);

    Tracked::destroyed.clear();
    a.removeAt(1);
    a.removeAt(3);
    a.removeAt(0);
    a.removeLast();
    EXPECT_EQ(Tracked::destroyed, (std::vector<int>{1, 4, 0, 3}));
    EXPECT_EQ(ids(a), (std::vector<int>{2}));
    EXPECT_EQ(Tracked::live, 1);

    CArray<Tracked> full;
    for (int i = 0; i < 4; ++i) full.emplace(i + 10);
    ASSERT_EQ(full.count(), full.capacity());
    full.add(full[0]);  // the source lives in the storage being replaced
    full.emplace(full[1]);
    EXPECT_EQ(ids(full), (std::vector<int>{10, 11, 12, 13, 10, 11}));
}

TEST_F(CArrayTest, CopyAndMove) {
    CArray<Tracked> small;
    small.emplace(1);
    small.emplace(2);
    CArray<Tracked> big;
    for (int i = 0; i < 6; ++i) big.emplace(i);

    CArray<Tracked> smallCopy(small);
    CArray<Tracked> bigCopy;
    bigCopy = big;
    EXPECT_EQ(ids(smallCopy), ids(small));
    EXPECT_EQ(ids(bigCopy), ids(big));
    EXPECT_NE(bigCopy.data(), big.data());
    EXPECT_EQ(Tracked::live, 16);

    // Inline storage can't change hands: the elements move.
    CArray<Tracked> smallMoved(std::move(small));
    EXPECT_TRUE(smallMoved.isInline());
    EXPECT_EQ(ids(smallMoved), (std::vector<int>{1, 2}));
    EXPECT_EQ(small.count(), 0);

    // Heap storage is taken over as it is.
    const Tracked* heap = big.data();
    CArray<Tracked> bigMoved(std::move(big));
    EXPECT_EQ(bigMoved.data(), heap);
    EXPECT_EQ(big.count(), 0);
    EXPECT_TRUE(big.isInline());

    // Move assignment over a heap array releases its items first.
    bigCopy = std::move(smallMoved);
    EXPECT_EQ(ids(bigCopy), (std::vector<int>{1, 2}));
    EXPECT_EQ(Tracked::live, 2 + 2 + 6);
    big = std::move(bigMoved);
    EXPECT_EQ(big.data(), heap);
    EXPECT_EQ(big.count(), 6);
}
