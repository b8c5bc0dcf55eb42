// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>

#include "tests/unit/json/TwinTree.h"

// Random operations on a tree of json/ and on its reference model, compared after each of them.
//
// What nothing is promised about is left out: moving a value, an object or an array into a part of
// itself; assigning to an array, which is a std::vector, a part of itself; and the content of what
// was moved from, which gets another one at once.
namespace {

constexpr std::uint64_t defaultSeeds = 60;
constexpr std::size_t stepsPerSeed = 300;
constexpr std::size_t fewValues = 6;
constexpr std::size_t manyValues = 120;

struct Operation {
    const char* name;
    void (TwinTree::*run)();
    JsonType target = JsonType::unknown;  // what it has to be; unknown stands for any kind
    JsonType source = JsonType::unknown;
};

constexpr std::array operations = {
    Operation{"setNewObject", &TwinTree::setNewObject},
    Operation{"setNewArray", &TwinTree::setNewArray},
    Operation{"reset", &TwinTree::reset},
    Operation{"setInteger", &TwinTree::setInteger},
    Operation{"setReal", &TwinTree::setReal},
    Operation{"setBoolean", &TwinTree::setBoolean},
    Operation{"setString", &TwinTree::setString},
    Operation{"setUnknown", &TwinTree::setUnknown},
    Operation{"copyValue", &TwinTree::copyValue},
    Operation{"moveValue", &TwinTree::moveValue},
    Operation{"constructCopy", &TwinTree::constructCopy},
    Operation{"constructMoved", &TwinTree::constructMoved},
    Operation{"swapValues", &TwinTree::swapValues},
    Operation{"copyObject", &TwinTree::copyObject, JsonType::object, JsonType::object},
    Operation{"moveObject", &TwinTree::moveObject, JsonType::object, JsonType::object},
    Operation{"copyArray", &TwinTree::copyArray, JsonType::array, JsonType::array},
    Operation{"moveArray", &TwinTree::moveArray, JsonType::array, JsonType::array},
    Operation{"setStringCopy", &TwinTree::setStringCopy, JsonType::unknown, JsonType::string},
    Operation{"setObjectCopy", &TwinTree::setObjectCopy, JsonType::unknown, JsonType::object},
    Operation{"setArrayCopy", &TwinTree::setArrayCopy, JsonType::unknown, JsonType::array},
    Operation{"setStringMoved", &TwinTree::setStringMoved, JsonType::unknown, JsonType::string},
    Operation{"setObjectMoved", &TwinTree::setObjectMoved, JsonType::unknown, JsonType::object},
    Operation{"setArrayMoved", &TwinTree::setArrayMoved, JsonType::unknown, JsonType::array},
    Operation{"insertOrAssign", &TwinTree::insertOrAssign, JsonType::object},
    Operation{"subscript", &TwinTree::subscript, JsonType::object},
    Operation{"erase", &TwinTree::erase, JsonType::object},
    Operation{"merge", &TwinTree::merge, JsonType::object, JsonType::object},
    Operation{"clearObject", &TwinTree::clearObject, JsonType::object},
    Operation{"find", &TwinTree::find, JsonType::object},
    Operation{"followPath", &TwinTree::followPath, JsonType::object},
    Operation{"pushBack", &TwinTree::pushBack, JsonType::array},
    Operation{"insertElement", &TwinTree::insertElement, JsonType::array},
    Operation{"eraseElement", &TwinTree::eraseElement, JsonType::array},
};

/// Keeps the tree between few and many values, otherwise takes any operation.
const Operation& chooseOperation(TwinTree& twins)
{
    const std::size_t count = twins.countValues();
    if (count < fewValues) {
        return operations[twins.below(2)];
    }
    return operations[count > manyValues ? 2 : twins.below(operations.size())];
}

using Done = std::set<std::pair<std::string, Relation>>;

void runSeed(std::uint64_t seed, Done& done)
{
    TwinTree twins(seed);
    for (std::size_t step = 0; step < stepsPerSeed; ++step) {
        const Operation& operation = chooseOperation(twins);
        if (!twins.choosePlaces(operation.target, operation.source)) {
            continue;
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step) + ": " +
                     operation.name + ", " + twins.describePlaces());
        done.emplace(operation.name, twins.relation());
        (twins.*operation.run)();
        ASSERT_TRUE(twins.agrees());
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

/// SWITCH_QUERIER_TREE_SEEDS asks for a longer run.
std::uint64_t countSeeds()
{
    const char* const wanted = std::getenv("SWITCH_QUERIER_TREE_SEEDS");
    return std::max<std::uint64_t>(defaultSeeds,
                                   wanted == nullptr ? 0 : std::strtoull(wanted, nullptr, 10));
}

TEST(TreeModel, AgreesWithTheTreeAfterEachOfManyOperations)
{
    Done done;
    for (std::uint64_t seed = 1; seed <= countSeeds(); ++seed) {
        runSeed(seed, done);
        ASSERT_FALSE(HasFailure());
    }
    for (const Operation& operation : operations) {
        EXPECT_TRUE(done.contains({operation.name, Relation::apart})) << operation.name;
    }
    for (const char* name : {"copyValue", "moveValue", "copyObject", "moveObject", "setArrayCopy",
                             "setArrayMoved", "merge", "insertOrAssign"}) {
        for (const Relation relation :
             {Relation::same, Relation::sourceIsPart, Relation::targetIsPart}) {
            EXPECT_TRUE(done.contains({name, relation})) << name << static_cast<int>(relation);
        }
    }
}

}  // namespace
