// SPDX-License-Identifier: Apache-2.0
#include "value_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/mman.h>

namespace {

using Tovrin::Parser::ValueStore;

ValueStore::Entry &intern(ValueStore &store, std::string_view group, std::string_view key)
{
    return store.findOrAdd(ValueStore::hashed(group, key));
}

const ValueStore::Entry *find(const ValueStore &store, std::string_view group, std::string_view key)
{
    return store.find(ValueStore::hashed(group, key));
}

std::vector<std::string> textsOf(const ValueStore &store, const ValueStore::Entry &entry)
{
    std::vector<std::string> texts;
    store.forEachValue(entry, [&texts](const ValueStore::Value &value) { texts.emplace_back(value.text()); });
    return texts;
}

using Texts = std::vector<std::string>;

TEST(ValueStore, FindsNothingInAnEmptyStore)
{
    ValueStore store;
    EXPECT_EQ(find(store, "G", "K"), nullptr);
    EXPECT_EQ(store.findGroup(ValueStore::hashed("G")), nullptr);
    EXPECT_EQ(store.firstGroup(), nullptr);
}

TEST(ValueStore, InternsAnEntryOnceAndNotPresent)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    EXPECT_EQ(&intern(store, "G", "K"), &entry);
    EXPECT_EQ(find(store, "G", "K"), &entry);
    EXPECT_EQ(entry.key(), "K");
    EXPECT_EQ(store.groupOf(entry).name(), "G");
    EXPECT_FALSE(entry.present());
    EXPECT_FALSE(store.groupOf(entry).present());
    EXPECT_FALSE(entry.hasValues());
}

// Two entries that only their names tell apart: `named` makes the name of a number.
template <typename Named> void expectApartInSpiteOfTheirHash(Named named)
{
    std::unordered_map<std::uint32_t, int> numbers;
    int number = 0;
    while (numbers.emplace(ValueStore::hashed(named(number).first, named(number).second).hash, number).second)
        ++number;
    const auto first = named(numbers[ValueStore::hashed(named(number).first, named(number).second).hash]);
    const auto second = named(number);
    ASSERT_NE(first, second);
    ValueStore store;
    auto &entry = intern(store, first.first, first.second);
    EXPECT_EQ(find(store, second.first, second.second), nullptr);
    EXPECT_NE(&intern(store, second.first, second.second), &entry);
    EXPECT_EQ(find(store, first.first, first.second), &entry);
}

TEST(ValueStore, TellsNamesOfTheSameHashApart)
{
    using Name = std::pair<std::string, std::string>;
    expectApartInSpiteOfTheirHash([](int number) { return Name("G" + std::to_string(number), "K"); });
    expectApartInSpiteOfTheirHash([](int number) { return Name("G", "K" + std::to_string(number)); });
}

// Otherwise a file could be made of names that share their hashes everywhere.
TEST(ValueStoreDeathTest, HashesNamesDifferentlyInEachProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a program of its own, not a copy of this one
    const auto hashOfThisProcess = [] { return std::to_string(ValueStore::hashed("G").hash); };
    EXPECT_EXIT((std::cerr << hashOfThisProcess(), std::_Exit(0)), testing::ExitedWithCode(0),
                testing::AllOf(testing::MatchesRegex("[0-9]+"), testing::Not(hashOfThisProcess())));
}

TEST(ValueStore, CountsTheValuesOfAnEntry)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    EXPECT_EQ(store.valueCount(entry), 0u);
    for (std::size_t count = 1; count <= 300; ++count) {
        store.append(entry, "v", {});
        EXPECT_EQ(store.valueCount(entry), count);
    }
    store.replace(entry, "v", {});
    EXPECT_EQ(store.valueCount(entry), 1u);
    store.drop(entry);
    EXPECT_EQ(store.valueCount(entry), 0u);
}

// Number 0 is no record, also where the first one is so large that it would get a block of its own.
TEST(ValueStore, TakesAGroupOfAnySizeAsTheFirst)
{
    for (const std::size_t size : {4'000U, 16'384U, 16'390U, 65'536U, 200'000U}) {
        const std::string group(size, 'g');
        ValueStore store;
        auto &entry = intern(store, group, "K");
        ASSERT_EQ(store.groupOf(entry).name(), group) << size;
        ASSERT_EQ(find(store, group, "K"), &entry) << size;
        store.append(entry, "v", {});
        auto &other = intern(store, group, "L");
        ASSERT_EQ(&store.groupOf(other), &store.groupOf(entry)) << size;
        ASSERT_EQ(store.firstGroup(), &store.groupOf(entry)) << size;
        ASSERT_EQ(textsOf(store, entry), Texts{"v"}) << size;
    }
}

TEST(ValueStore, HoldsNamesOfAnyLength)
{
    for (const std::size_t length : {1U, 3U, 16U, 17U, 4096U, 16384U, 16385U, 70000U, 200000U}) {
        const std::string name(length, 'n');
        ValueStore store;
        auto &entry = intern(store, name, name);
        EXPECT_EQ(find(store, name, name), &entry) << length;
        EXPECT_EQ(entry.key(), name);
        EXPECT_EQ(store.groupOf(entry).name(), name);
    }
}

TEST(ValueStore, KeepsGroupAndKeyApart)
{
    ValueStore store;
    auto &one = intern(store, "ab", "c");
    auto &other = intern(store, "a", "bc");
    auto &swapped = intern(store, "c", "ab");
    EXPECT_NE(&one, &other);
    EXPECT_NE(&one, &swapped);
    EXPECT_EQ(find(store, "", "abc"), nullptr);
}

TEST(ValueStore, AppendsInOrderAndBecomesPresent)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    for (const char *text : {"a", "", "c"})
        store.append(entry, text, {});
    EXPECT_EQ(textsOf(store, entry), (Texts{"a", "", "c"}));
    EXPECT_EQ(store.lastValue(entry)->text(), "c");
    EXPECT_TRUE(entry.present());
    EXPECT_TRUE(store.groupOf(entry).present());
}

TEST(ValueStore, ReplacesTheWholeList)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    store.append(entry, "a", {});
    store.append(entry, "b", {});
    for (const std::string text : {"longer than before", "short", "", "longer again, by a lot"}) {
        store.replace(entry, text, {});
        EXPECT_EQ(textsOf(store, entry), Texts{text});
    }
}

TEST(ValueStore, DropsTheEntryButNotItsGroup)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    store.append(entry, "a", {});
    store.drop(entry);
    EXPECT_FALSE(entry.present());
    EXPECT_TRUE(store.groupOf(entry).present());
    EXPECT_EQ(textsOf(store, entry), Texts{});
    store.append(entry, "b", {});
    EXPECT_EQ(textsOf(store, entry), Texts{"b"});
}

TEST(ValueStore, KeepsReferencesWithTheirPositions)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    const std::vector references{store.referenceTo(ValueStore::hashed("T", "t"), 0),
                                 store.referenceTo(ValueStore::hashed("G", "K"), 3)};
    store.append(entry, "abc", references);
    const auto &value = *store.lastValue(entry);
    EXPECT_FALSE(value.isPlain());
    ASSERT_EQ(value.references().size(), 2U);
    EXPECT_EQ(&store.entryOf(value.references()[0]), find(store, "T", "t"));
    EXPECT_EQ(&store.entryOf(value.references()[1]), &entry);
    EXPECT_EQ(value.references()[1].position, 3U);
    EXPECT_EQ(value.text(), "abc");
}

TEST(ValueStore, FirstRegistrationStays)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    EXPECT_FALSE(store.anyRegistered());
    EXPECT_FALSE(entry.registered());
    store.registerEntry(entry, ValueStore::Behaviour::Replace);
    store.registerEntry(entry, ValueStore::Behaviour::Amend);
    EXPECT_TRUE(store.anyRegistered());
    EXPECT_TRUE(entry.registered());
    EXPECT_EQ(entry.behaviour(), ValueStore::Behaviour::Replace);
}

TEST(ValueStore, LinksGroupsAndEntriesInOrder)
{
    ValueStore store;
    for (const char *group : {"z", "a", "m"}) {
        for (const char *key : {"2", "1"})
            intern(store, group, key);
    }
    std::string order;
    for (const auto *group = store.firstGroup(); group; group = store.groupAfter(*group)) {
        for (const auto *entry = store.firstEntry(*group); entry; entry = store.entryAfter(*entry))
            order += std::string(group->name()) + std::string(entry->key()) + " ";
    }
    EXPECT_EQ(order, "z2 z1 a2 a1 m2 m1 ");
}

TEST(ValueStore, CopiesDeeplyWithReferencesIntoTheCopy)
{
    ValueStore store;
    auto &target = intern(store, "T", "t");
    auto &entry = intern(store, "G", "K");
    const std::vector references{store.referenceTo(ValueStore::hashed("T", "t"), 1)};
    store.registerEntry(target, ValueStore::Behaviour::StoreNothing);
    store.append(entry, "ab", references);
    const ValueStore copy(store);
    store.replace(entry, "changed", {});

    const auto *copied = find(copy, "G", "K");
    ASSERT_NE(copied, nullptr);
    ASSERT_NE(copied, &entry);
    EXPECT_EQ(textsOf(copy, *copied), Texts{"ab"});
    EXPECT_EQ(&copy.entryOf(copy.lastValue(*copied)->references()[0]), find(copy, "T", "t"));
    EXPECT_EQ(find(copy, "T", "t")->behaviour(), ValueStore::Behaviour::StoreNothing);
    EXPECT_TRUE(copy.anyRegistered());
    EXPECT_FALSE(find(copy, "T", "t")->present());
}

TEST(ValueStore, CopyKeepsAPresentEntryWithoutValuesAndADroppedGroup)
{
    ValueStore store;
    store.makePresent(intern(store, "G", "empty"));
    auto &dropped = intern(store, "H", "dropped");
    store.append(dropped, "x", {});
    store.drop(dropped);
    const ValueStore copy(store);
    EXPECT_TRUE(find(copy, "G", "empty")->present());
    EXPECT_FALSE(find(copy, "H", "dropped")->present());
    EXPECT_TRUE(copy.findGroup(ValueStore::hashed("H"))->present());
}

TEST(ValueStore, CompactsWhenMostOfItIsWaste)
{
    ValueStore store;
    const std::string large(1000, 'x');
    for (int i = 0; i < 100; ++i) {
        store.append(intern(store, "G", "K"), large, {});
        store.drop(intern(store, "G", "K"));
    }
    store.append(intern(store, "G", "kept"), "value", {});
    const auto before = store.used();
    store.compactIfWasteful();
    EXPECT_LT(store.used(), before / 100);
    EXPECT_EQ(textsOf(store, *find(store, "G", "kept")), Texts{"value"});
}

TEST(ValueStore, KeepsItsSizeWhenAKeyIsReplacedForEver)
{
    ValueStore store;
    for (int i = 0; i < 100'000; ++i) {
        const std::vector references{store.referenceTo(ValueStore::hashed("G", "other"), 0)};
        store.replace(intern(store, "G", "K"), std::string(static_cast<std::size_t>(i % 50), 'x'), references);
        store.compactIfWasteful();
        ASSERT_LT(store.used(), 200'000U);
    }
}

TEST(ValueStore, LeavesAStoreWithLittleWasteAlone)
{
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    store.append(entry, "a", {});
    store.drop(entry);
    store.compactIfWasteful();
    EXPECT_EQ(find(store, "G", "K"), &entry);
}

TEST(ValueStore, HoldsTextsOfAnySizeAndByte)
{
    ValueStore store;
    const std::string withNul("a\0b", 3);
    for (const std::string &text : {std::string(100'000, 'v'), withNul, std::string(1'000'000, 'w'), std::string()}) {
        auto &entry = intern(store, "G", std::to_string(text.size()));
        store.append(entry, text, {});
        EXPECT_EQ(textsOf(store, entry), Texts{text});
    }
}

TEST(ValueStore, AgreesWithAMapUnderRandomOperations)
{
    ValueStore store;
    std::map<std::pair<std::string, std::string>, Texts> model;
    std::mt19937 random(20240229);
    for (int step = 0; step < 50'000; ++step) {
        const auto group = std::to_string(random() % 40);
        const auto key = std::to_string(random() % 100);
        const auto text = std::string(random() % 60, static_cast<char>('a' + random() % 26));
        auto &entry = intern(store, group, key);
        switch (random() % 4) {
        case 0:
            store.drop(entry);
            model.erase({group, key});
            break;
        case 1:
            store.replace(entry, text, {});
            model[{group, key}] = {text};
            break;
        default:
            store.append(entry, text, {});
            model[{group, key}].push_back(text);
        }
        if (step % 1000 == 0)
            store.compactIfWasteful();
    }
    std::size_t present = 0;
    for (const auto *group = store.firstGroup(); group; group = store.groupAfter(*group)) {
        for (const auto *entry = store.firstEntry(*group); entry; entry = store.entryAfter(*entry)) {
            if (!entry->present())
                continue;
            ++present;
            const auto expected = model.find({std::string(group->name()), std::string(entry->key())});
            ASSERT_NE(expected, model.end());
            ASSERT_EQ(textsOf(store, *entry), expected->second);
            ASSERT_EQ(find(store, group->name(), entry->key()), entry);
        }
    }
    EXPECT_EQ(present, model.size());
}

#if SIZE_MAX > UINT32_MAX // elsewhere no text is too long

TEST(ValueStore, RefusesATextOfFourGibibytes)
{
    constexpr std::size_t size = std::size_t{1} << 32;
    void *const zeros = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    const std::string_view text(static_cast<const char *>(zeros), size);
    ValueStore store;
    auto &entry = intern(store, "G", "K");
    store.append(entry, "before", {});
    const auto refused = testing::ThrowsMessage<std::length_error>("ValueStore: text of 4 GiB or more");
    EXPECT_THAT([&] { store.append(entry, text, {}); }, refused);
    EXPECT_THAT([&] { store.replace(entry, text, {}); }, refused);
    EXPECT_EQ(textsOf(store, entry), (Texts{"before"}));
    munmap(zeros, size);
}

#endif

} // namespace
