#include <skar/strings.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

template <class Range>
std::vector<int> valuesOf(const Range& range) {
    return {range.begin(), range.end()};
}

TEST(SList, KeepsTheOrderOfAppending) {
    MORVASList<int> list;
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.head(), nullptr);
    EXPECT_EQ(list.last(), nullptr);
    list.append(3);
    list.append(1);
    EXPECT_EQ(list.emplace(2), 2);
    EXPECT_EQ(valuesOf(list), (std::vector{3, 1, 2}));
    EXPECT_EQ(list.count(), 3u);
    EXPECT_EQ(*list.head(), 3);
    EXPECT_EQ(*list.last(), 2);
}

TEST(SList, CanBeFilledAgainAfterClearing) {
    MORVASList<int> list{1, 2};
    list.clear();
    EXPECT_EQ(list.count(), 0u);
    EXPECT_TRUE(valuesOf(list).empty());
    list.append(7);
    EXPECT_EQ(valuesOf(list), std::vector{7});
    EXPECT_EQ(*list.last(), 7);
}

TEST(SList, InsertsBeforeTheFirstThatFitsElseAtTheEnd) {
    MORVASList<int> list;
    const auto sorted = [&list](int value) {
        list.insertBefore([value](int other) { return other > value; }, int(value));
    };
    for (const int value : {5, 2, 9, 7})
        sorted(value);
    EXPECT_EQ(valuesOf(list), (std::vector{2, 5, 7, 9}));
    EXPECT_EQ(*list.last(), 9);
    list.append(1);
    EXPECT_EQ(valuesOf(list), (std::vector{2, 5, 7, 9, 1}));
    EXPECT_EQ(list.count(), 5u);
}

TEST(SList, AppendsBehindWhatRemovingLeft) {
    MORVASList<int> list{1, 2, 3, 4};
    EXPECT_EQ(list.removeIf([](int value) { return value % 2 == 0; }), 2u);
    list.append(5);
    EXPECT_EQ(valuesOf(list), (std::vector{1, 3, 5}));
    EXPECT_EQ(list.count(), 3u);
    EXPECT_EQ(list.removeIf([](int) { return true; }), 3u);
    list.append(6);
    EXPECT_EQ(valuesOf(list), std::vector{6});
}

TEST(SList, ACopyIsIndependent) {
    MORVASList<int> list{1, 2};
    MORVASList<int> copy(list);
    copy.append(3);
    EXPECT_EQ(valuesOf(list), (std::vector{1, 2}));
    EXPECT_EQ(valuesOf(copy), (std::vector{1, 2, 3}));
    list = copy;
    list.append(4);
    EXPECT_EQ(valuesOf(list), (std::vector{1, 2, 3, 4}));
    EXPECT_EQ(valuesOf(copy), (std::vector{1, 2, 3}));
}

TEST(SList, BothSidesOfAMoveCanBeAppendedTo) {
    MORVASList<int> list{1, 2};
    MORVASList<int> taken(std::move(list));
    list.append(9);
    taken.append(3);
    EXPECT_EQ(valuesOf(list), std::vector{9});
    EXPECT_EQ(valuesOf(taken), (std::vector{1, 2, 3}));
    MORVASList<int> empty;
    taken = std::move(empty);
    taken.append(4);
    EXPECT_EQ(valuesOf(taken), std::vector{4});
    empty.append(5);
    EXPECT_EQ(valuesOf(empty), std::vector{5});
}

TEST(Array, ACopyAllocatesExactlyItsCount) {
    MORVAArray<int> array;
    array.reserve(100);
    for (int value = 0; value < 3; ++value)
        array.append(value);
    EXPECT_GE(array.capacity(), 100u);
    const MORVAArray<int> copy(array);
    EXPECT_EQ(copy.count(), 3u);
    EXPECT_EQ(copy.capacity(), 3u);
    MORVAArray<int> assigned;
    assigned.reserve(50);
    assigned = array;
    EXPECT_EQ(assigned.capacity(), 3u);
    EXPECT_EQ(valuesOf(assigned), (std::vector{0, 1, 2}));
}

TEST(Array, AnIndexBeyondTheCountThrows) {
    MORVAArray<int> array{1, 2};
    array[1] = 5;
    EXPECT_EQ(std::as_const(array)[1], 5);
    EXPECT_THROW(array[2], std::out_of_range);
    EXPECT_THROW(array.remove(2), std::out_of_range);
    array.remove(0);
    EXPECT_EQ(valuesOf(array), std::vector{5});
    array.resize(2);
    EXPECT_EQ(valuesOf(array), (std::vector{5, 0}));
    array.clear();
    EXPECT_TRUE(array.isEmpty());
}

struct Counted {
    explicit Counted(int& alive) : count(alive) { ++count; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() { --count; }
    int& count;
};

TEST(Type, CopyingMovesTheObjectOutOfTheSource) {
    int alive = 0;
    {
        MORVAType<Counted> source(new Counted(alive));
        Counted* object = source.get();
        MORVAType<Counted> copy(source);
        EXPECT_TRUE(source.isNull());
        EXPECT_EQ(copy.get(), object);
        MORVAType<Counted> assigned(new Counted(alive));
        EXPECT_EQ(alive, 2);
        assigned = copy;
        EXPECT_EQ(alive, 1);
        EXPECT_FALSE(copy);
        EXPECT_EQ(&*assigned, object);
    }
    EXPECT_EQ(alive, 0);
}

TEST(Type, StandsInAListAndIsFreedWithIt) {
    int alive = 0;
    {
        MORVASList<MORVAType<Counted>> list;
        MORVAType<Counted> entry(new Counted(alive));
        list.append(std::move(entry));
        list.append(MORVAType<Counted>(std::make_unique<Counted>(alive)));
        EXPECT_TRUE(entry.isNull());
        EXPECT_EQ(alive, 2);
        const std::unique_ptr<Counted> released(list.head()->release());
        EXPECT_TRUE(list.head()->isNull());
        MORVASList<MORVAType<Counted>> taken(std::move(list));
        EXPECT_EQ(taken.count(), 2u);
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

class Sounder : public MORVAObject {};

TEST(Object, TellsItsTypeAsAnElement) {
    EXPECT_EQ(MORVAObject().toText(), "<MORVAObject typeid=\"MORVAPP::MORVAObject\"/>\n");
    const std::unique_ptr<MORVAObject> object = std::make_unique<Sounder>();
    EXPECT_EQ(object->toText(), "<MORVAObject typeid=\"(anonymous namespace)::Sounder\"/>\n");
    EXPECT_EQ(MORVAType<int>().toText(), "<MORVAObject typeid=\"MORVAPP::MORVAType&lt;int&gt;\"/>\n");
}

} // namespace
