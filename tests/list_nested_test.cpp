// Nested lists written in place.

#include <gtest/gtest.h>

#include "list/nested_list.h"
#include "list_hex.h"

namespace nimb {
namespace {

TEST(NestedListScope, WritesTheBytesOfAListBuiltApart) {
    for (std::size_t payload : {0U, 1U, 252U, 253U, 254U, 255U, 65533U, 65534U, 65535U, 65536U}) {
        VeltoList apart;
        if (payload == 1) {
            apart += VeltoNull{};
        } else if (payload != 0) {
            const std::size_t header = payload - 1 < 255 ? 1 : payload - 3 < 65536 ? 3 : 7;
            apart += std::string(payload - header - 1, 'x');
        }
        ASSERT_EQ(apart.datalength(), payload);
        VeltoList expected;
        expected += 1;
        expected += apart;
        expected += 2;

        // Whatever length the header was chosen for.
        for (const std::size_t announced : {std::size_t{0}, payload, std::size_t{254}, 70000UL}) {
            VeltoList list;
            list += 1;
            NestedList nested(list, announced);
            list.appendList(apart);
            nested.close();
            list += 2;
            EXPECT_TRUE(test::hex(list) == test::hex(expected)) << payload << ' ' << announced;
            EXPECT_EQ(list.size(), 3U);
            EXPECT_EQ(list.at(2).AsLong(), 2);
            EXPECT_EQ(list.at(1).datalength(), payload);
        }
    }
}

/// A tree of `depth` levels below `list`, with `width` bytes of text at each.
void appendInPlace(VeltoList& list, int depth, std::size_t width) {
    if (depth == 0) {
        return;
    }
    NestedList nested(list);
    list += depth;
    appendInPlace(list, depth - 1, width);
    list += std::string(width, 'x');
    nested.close();
}

void appendApart(VeltoList& list, int depth, std::size_t width) {
    if (depth == 0) {
        return;
    }
    VeltoList apart;
    apart += depth;
    appendApart(apart, depth - 1, width);
    apart += std::string(width, 'x');
    list += apart;
}

TEST(NestedListScope, StandsInsideOthers) {
    for (std::size_t width : {0U, 70U, 120U, 246U, 247U, 21000U, 32760U, 65520U, 65536U}) {
        VeltoList inPlace;
        VeltoList apart;
        appendInPlace(inPlace, 3, width);
        appendApart(apart, 3, width);
        EXPECT_TRUE(test::hex(inPlace) == test::hex(apart)) << width;
        EXPECT_EQ(inPlace.size(), 1U);
    }
}

TEST(NestedListScope, LeftOpenTakesItsItemsBack) {
    VeltoList list;
    list += "before";
    const std::string before = test::hex(list);
    {
        const NestedList outer(list);
        list += 1;
        const NestedList inner(list);
        list += std::string(1000, 'x');
    }
    EXPECT_EQ(test::hex(list), before);
    EXPECT_EQ(list.size(), 1U);
    list += 2;
    EXPECT_EQ(list.size(), 2U);
    EXPECT_EQ(list.at(1).AsLong(), 2);
}

TEST(NestedListScope, StaysOpenWhenItsHeaderFindsNoRoom) {
    struct Bounded : VeltoList {
        void ensureBuffer(std::size_t needed) override {
            if (needed > 512) {
                throw std::bad_alloc();
            }
            VeltoList::ensureBuffer(needed);
        }
    } list;
    list += 1;
    {
        NestedList nested(list);
        list += std::string(512 - 3 - 2 - 4, 'x');
        ASSERT_EQ(list.datalength(), 512U);
        EXPECT_THROW(nested.close(), std::bad_alloc);
    }
    EXPECT_EQ(test::hex(list), "03 04 01");
}

}  // namespace
}  // namespace nimb
