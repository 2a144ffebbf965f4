// Browsing through the callout table, against a real server.

#include <atomic>
#include <chrono>
#include <thread>

#include "reading_plant.h"
#include "testbed/fault_proxy.h"
#include "testbed/wait_until.h"

namespace nimb::test {
namespace {

class BrowseTest : public PlantTest {
  protected:
    /// Browses nodes of the plant's namespace by their numbers.
    static Result browse(const VeltoList& identifiers, long client = client_) {
        const std::size_t count = identifiers.size();
        return host_->call("zfBrowse", client, repeated(count, 0), repeated(count, 2), identifiers);
    }
};

/// Tank 1 with its type and its three values; @ stands where texts are marked by the string mode.
const std::string tank1References =
    R"([[0, 40, 0, 6], 1, [0, 58, 0, 6, @"", 0], [@"BaseObjectType", 0], )"
    R"([@"BaseObjectType", @""], "", [0, 0, 0, 6, @"", 0]], )"
    R"([[0, 47, 0, 6], 1, [2, @"Tank1.Level", 3, 11, @"", 0], [@"Level", 2], )"
    R"([@"Level", @""], "", [0, 63, 0, 6, @"", 0]], )"
    R"([[0, 47, 0, 6], 1, [2, @"Tank1.Temperature", 3, 11, @"", 0], [@"Temperature", 2], )"
    R"([@"Temperature", @""], "", [0, 63, 0, 6, @"", 0]], )"
    R"([[0, 47, 0, 6], 1, [2, @"Tank1.SetPoint", 3, 11, @"", 0], [@"SetPoint", 2], )"
    R"([@"SetPoint", @""], "", [0, 63, 0, 6, @"", 0]])";

TEST_F(BrowseTest, DescribesEveryForwardReference) {
    for (const int mode : {0, 1}) {
        setStringMode(mode);
        std::string expected = tank1References;
        for (std::size_t at; (at = expected.find('@')) != std::string::npos;) {
            expected.replace(at, 1, mode == 0 ? "" : "u");
        }
        EXPECT_EQ(browse(listOf(1001)).text(), "0, 0, [\"\"], [[0, \"\", 4, [" + expected + "]]]");
    }
}

TEST_F(BrowseTest, AnswersNodesOfAllKindsInTheirOrder) {
    const Result result = host_->call("zfBrowse", client_, listOf(0, 0, 3, 0), listOf(2, 2, 2, 0),
                                      listOf(1001, 1003, "Tank1.Level", 58));
    ASSERT_TRUE(result.ok()) << result.text();
    EXPECT_EQ(describe(result.sublist(2)), "\"\", \"\", \"\", \"\"");
    std::vector<long> references;
    for (std::size_t i = 0; i < 4; ++i) {
        const VeltoROList node = result.sublist(3).at(i).AsVeltoROList();
        references.push_back(node.at(2).AsLong());
        EXPECT_EQ(static_cast<long>(node.at(3).AsVeltoROList().size()), references.back());
    }
    references.pop_back();  // how many subtypes the base type has is the server's business
    EXPECT_EQ(references, (std::vector<long>{4, 5, 1}));
}

TEST_F(BrowseTest, NamesTheFirstRefusedNode) {
    const auto refused = [](const std::string& text) {
        return statusError(UA_STATUSCODE_BADNODEIDUNKNOWN,
                           "Error encountered regarding node " + text);
    };
    EXPECT_EQ(browse(listOf(1001, 99, 1002)).text(), refused("#2 of 3"));
    EXPECT_EQ(browse(listOf(98, 1001, 99)).text(), refused("#1 of 3"));
    EXPECT_EQ(browse(listOf(1001, 1002, 99)).text(), refused("#3 of 3"));
}

TEST_F(BrowseTest, TakesAFailedServiceForOneWithoutResults) {
    EXPECT_EQ(browse(VeltoList()).text(), "0, 0, \"\", \"\"");  // servers answer BadNothingToDo
}

TEST_F(BrowseTest, LeavesTheOutputUntouchedByTooManyReferences) {
    EXPECT_EQ(browse(listOf(6)).text(), "output untouched");
}

/// A server that gives three references a node, and a client that reaches it through a relay.
class BrowsePages : public ::testing::Test {
  protected:
    static plant::PlantOptions paging() {
        plant::PlantOptions options;
        options.maxReferencesPerNode = 3;
        return options;
    }
    ~BrowsePages() override { host_.call("zfDestroyClientB", client_); }

    /// Two nodes with more references and, between them, one without.
    void browse() {
        const Result result = host_.call("zfBrowse", client_, listOf(0, 3, 0), listOf(2, 2, 2),
                                         listOf(1001, "Tank1.Level", 1003));
        ASSERT_TRUE(result.ok()) << result.text();
        const VeltoROList points = result.sublist(2);
        ASSERT_EQ(points.size(), 3U) << result.text();
        EXPECT_GT(points.at(0).AsAString().size(), 0U);
        EXPECT_EQ(points.at(1).AsAString(), "");
        EXPECT_GT(points.at(2).AsAString().size(), 0U);
        EXPECT_NE(points.at(0).AsAString(), points.at(2).AsAString());
        const VeltoROList first = result.sublist(3).at(0).AsVeltoROList();
        EXPECT_EQ(describe({first.data(), 4}), "0, \"\"");
        EXPECT_EQ(first.at(2).AsLong(), 3);
    }
    void connect() {
        host_.call("zfSetupClientC", client_, 1000, 1, "", "", "", "", "", 0);
        ASSERT_TRUE(host_.call("zfConnectB", client_, relay_.url()).ok());
    }

    TestServer server_{paging()};
    FaultProxy relay_{server_.port()};
    Host host_;
    const long client_ = host_.bareClient();
};

TEST_F(BrowsePages, ContinuationPointsStandBesideTheResultsAndAreReleased) {
    ASSERT_NO_FATAL_FAILURE(connect());
    for (int i = 0; i < 6; ++i) {  // the server keeps five points a session
        ASSERT_NO_FATAL_FAILURE(browse());
    }
}

TEST_F(BrowsePages, TheReleaseTakesWhatIsLeftOfTheTimeoutAndItsFailureChangesNothing) {
    std::atomic<bool> slow = false;
    relay_.onReply = [&slow](std::string_view) {
        if (slow) std::this_thread::sleep_for(std::chrono::milliseconds(700));
    };
    ASSERT_NO_FATAL_FAILURE(connect());
    slow = true;
    const auto took = timeOf([this] { ASSERT_NO_FATAL_FAILURE(browse()); });
    EXPECT_GE(took, std::chrono::milliseconds(950));
    EXPECT_LT(took, std::chrono::milliseconds(1300));
    slow = false;
}

}  // namespace
}  // namespace nimb::test
