#include "base/prepared_read.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace nimb::host {

namespace {

constexpr int kValue = 13;

/// Plain values of so many fit into a result; identifiers of so many bytes into the arguments.
constexpr std::size_t kMostNodes = 250;
constexpr std::size_t kMostIdentifiers = 20000;

/// An array that became empty has no form either, and may be filled again.
constexpr std::chrono::seconds kFormlessFor{10};

/// The position that a poll's failure names: "... [v,rbp-c]: idx = 2", counted from 0.
std::optional<std::size_t> namedPosition(const Failure& failure) {
    constexpr std::string_view mark = "idx = ";
    constexpr long long conversion = 5;
    const std::string_view text = failure.what();
    const std::size_t at = text.rfind(mark);
    std::size_t position = 0;
    if (failure.kind() != 2 || failure.code() != conversion || at == std::string_view::npos ||
        std::from_chars(text.data() + at + mark.size(), text.data() + text.size(), position).ec !=
            std::errc{}) {
        return std::nullopt;
    }
    return position;
}

}  // namespace

std::optional<Ticks> Reading::time(std::size_t i, std::size_t item) const {
    const Sample& sample = samples_.at(i);
    return sample.items == nullptr ? std::nullopt : timeOf(sample.listFrom(sample.items).at(item));
}

std::size_t Reading::bytes() const noexcept {
    std::size_t bytes = 0;
    for (const ResultList& result : results_) bytes += result.datalength();
    return bytes;
}

Value Reading::value(std::size_t i, const NodeInfo& info, Warning& warning) const {
    const Sample& sample = samples_.at(i);
    if (sample.items != nullptr) {
        return valueOf(sample.listFrom(sample.value), info.type, info.rank, warning);
    }
    if (!sample.status) {
        warning = "values of this kind, and empty arrays, have no form";
    }
    return {};
}

PreparedRead::~PreparedRead() { clear(); }

long PreparedRead::setUp(const std::vector<std::size_t>& nodes) {
    VeltoList types;
    VeltoList nameSpaces;
    VeltoList identifiers;
    VeltoList attributes;
    for (const std::size_t i : nodes) {
        const NodeId& node = nodes_[i];
        types += identifierType(node);
        nameSpaces += int{node.nameSpace};
        if (node.isText()) {
            identifiers += node.text;
        } else {
            identifiers += std::int64_t{node.number};
        }
        attributes += kValue;
    }
    return connection_
        .call("zfReadBulkSetup", VeltoList() + types + nameSpaces + identifiers + attributes)
        .at(1)
        .AsLong();
}

void PreparedRead::clear(long query) noexcept {
    try {
        if (query != 0) connection_.call("zfReadBulkClear", VeltoList() + query);
    } catch (const std::exception&) {  // it ends with the client at the latest
    }
}

void PreparedRead::clear(std::vector<Part>& parts) noexcept {
    if (generation_ == connection_.generation()) {
        for (const Part& part : parts) clear(part.query);
    }
    parts.clear();
}

void PreparedRead::clear() noexcept {
    clear(parts_);
    clear(absentParts_);
    absent_.clear();
}

/// Nodes in requests, as many in each as arguments and result should take.
std::vector<PreparedRead::Part> PreparedRead::spread(const std::vector<std::size_t>& nodes) const {
    std::vector<Part> parts;
    std::size_t identifiers = 0;
    for (const std::size_t i : nodes) {
        identifiers += nodes_[i].text.size();
        if (parts.empty() || parts.back().nodes.size() == kMostNodes ||
            identifiers > kMostIdentifiers) {
            parts.emplace_back();
            identifiers = nodes_[i].text.size();
        }
        parts.back().nodes.push_back(i);
    }
    return parts;
}

/// Spreads the nodes over requests, unless they stand already as they should.
void PreparedRead::prepare() {
    const bool retry =
        std::erase_if(formless_, [](const auto& node) { return Clock::now() >= node.second; }) > 0;
    if (generation_ == connection_.generation() && !retry && !parts_.empty()) {
        return;
    }
    clear();
    generation_ = connection_.generation();
    std::vector<std::size_t> nodes;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (!formless_.contains(i)) nodes.push_back(i);
    }
    parts_ = spread(nodes);
}

Reading PreparedRead::read() {
    return connection_.reading([this] {
        prepare();
        Reading reading;
        reading.samples_.resize(nodes_.size());
        std::vector<std::size_t> absent;
        poll(reading, absent);
        readAbsent(reading, std::move(absent));
        return reading;
    });
}

void PreparedRead::poll(Reading& reading, std::vector<std::size_t>& absent) {
    for (std::size_t i = 0; i < parts_.size();) {
        if (parts_[i].nodes.empty()) {
            ++i;
            continue;
        }
        try {
            if (parts_[i].query == 0) parts_[i].query = setUp(parts_[i].nodes);
            if (pollPart(parts_[i], reading, absent)) {
                ++i;
            } else {
                split(i);
            }
        } catch (const TooLong&) {
            split(i);
        } catch (const Failure& failure) {
            if (failure.tooMuchAtOnce()) {
                split(i);
            } else if (!dropFormless(parts_[i], failure)) {
                throw;
            }
        }
    }
}

/// @return false when the result is not that of all nodes: it was cut at a multiple of 65536 bytes
bool PreparedRead::pollPart(const Part& part, Reading& reading, std::vector<std::size_t>& absent) {
    ResultList result = connection_.call("zfReadBulkPollC", VeltoList() + part.query + 0 + 0);
    try {
        if (result.size() != part.nodes.size() + 1) return false;
    } catch (const std::exception&) {  // cut within an item
        return false;
    }
    const ResultList& kept = reading.results_.emplace_back(std::move(result));
    VeltoListIterator answer = kept.begin();
    for (const std::size_t node : part.nodes) {
        const VeltoROList items = (*++answer).AsVeltoROList();
        if (items.empty()) {
            absent.push_back(node);
            continue;
        }
        Reading::Sample& sample = reading.samples_[node];
        VeltoListIterator item = items.begin();
        ++item;
        sample.status = static_cast<std::uint32_t>((*++item).AsLongLong());
        sample.items = items.data();
        sample.value = (++item).position();
        sample.end = items.end().position();
    }
    return true;
}

/// One value without a form fails the poll of all: that node is left out from here on.
bool PreparedRead::dropFormless(Part& part, const Failure& failure) {
    const std::optional<std::size_t> position = namedPosition(failure);
    if (!position || *position >= part.nodes.size()) {
        return false;
    }
    const auto dropped = part.nodes.begin() + static_cast<std::ptrdiff_t>(*position);
    formless_[*dropped] = Clock::now() + kFormlessFor;
    part.nodes.erase(dropped);
    clear(part.query);
    part.query = 0;
    return true;
}

/// Two requests in place of one whose result did not fit.
std::size_t PreparedRead::split(std::size_t part) {
    std::vector<std::size_t>& nodes = parts_[part].nodes;
    if (nodes.size() == 1) {
        throw TooLong(notation(nodes_[nodes[0]]) +
                      ": the value does not fit into the 32767 bytes of a result");
    }
    clear(parts_[part].query);
    parts_[part].query = 0;
    const auto middle = nodes.begin() + static_cast<std::ptrdiff_t>(nodes.size() / 2);
    Part second;
    second.nodes.assign(middle, nodes.end());
    nodes.erase(middle, nodes.end());
    parts_.insert(parts_.begin() + static_cast<std::ptrdiff_t>(part) + 1, std::move(second));
    return parts_.size();
}

/// Nodes without a value come without their status: more requests, of the poll that has it.
void PreparedRead::readAbsent(Reading& reading, std::vector<std::size_t> nodes) {
    if (nodes.empty()) {
        return;
    }
    if (nodes != absent_) {
        clear(absentParts_);
        absentParts_ = spread(nodes);
        absent_ = std::move(nodes);
    }
    for (Part& part : absentParts_) readAbsentPart(reading, part);
}

void PreparedRead::readAbsentPart(Reading& reading, Part& part) {
    const std::vector<std::size_t>& nodes = part.nodes;
    if (part.query == 0) part.query = setUp(nodes);
    constexpr std::size_t itemsEach = 4;
    constexpr std::size_t statusAt = 2;
    std::optional<ResultList> result;
    try {
        result = connection_.call("zfReadBulkPoll", VeltoList() + part.query);
    } catch (const TooLong&) {  // seen one by one below
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        // Values that came in between may take several items each.
        if (result && result->size() == 1 + itemsEach * nodes.size()) {
            reading.samples_[nodes[i]].status =
                static_cast<std::uint32_t>(result->at(1 + itemsEach * i + statusAt).AsLongLong());
        } else {
            readAbsentOne(reading, nodes[i]);
        }
    }
}

void PreparedRead::readAbsentOne(Reading& reading, std::size_t node) {
    const NodeId& id = nodes_[node];
    VeltoList arguments;
    if (id.isText()) {
        arguments += id.text;
    } else {
        arguments += std::int64_t{id.number};
    }
    const ResultList result = connection_.call(
        "zfReadAttribute", arguments + int{id.nameSpace} + identifierType(id) + kValue);
    reading.samples_[node].status = static_cast<std::uint32_t>(result.at(3).AsLongLong());
}

}  // namespace nimb::host
