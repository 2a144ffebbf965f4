// Parts of the library by themselves: list building and walking beside a MessagePack library doing
// the same with the same items, dates, decimal numbers, strings.

#include <benchmark/benchmark.h>

#include <array>
#include <msgpack.hpp>
#include <string>
#include <vector>

#include "convert/ua_export.h"
#include "list/velto_list.h"

namespace {

using nimb::UACExport;
using nimb::VeltoList;
using nimb::VeltoROList;
namespace item_code = nimb::item_code;

constexpr int itemCount = 1000;
const std::string word = "Boiler 17, feed";

/// What the lists hold: integers, floating-point numbers, text and undefined values in turn.
/// `Sink` has one member per kind.
template <typename Sink>
void writeItems(Sink&& sink) {
    for (int i = 0; i < itemCount; i += 4) {
        sink.integer(i * 1001 - 300000);
        sink.real(i / 8.0 + 0.1);  // MessagePack would store a whole number as an integer
        sink.text(word);
        sink.undefined();
    }
}

/// What a walk has seen, so that nobody can skip a value.
struct Seen {
    long long integers = 0;
    double reals = 0;
    std::size_t characters = 0;
    int undefined = 0;

    bool operator==(const Seen&) const = default;
};

Seen everything() {
    struct Sink {
        Seen seen;
        void integer(int value) { seen.integers += value; }
        void real(double value) { seen.reals += value; }
        void text(const std::string& value) { seen.characters += value.size(); }
        void undefined() { ++seen.undefined; }
    } sink;
    writeItems(sink);
    return sink.seen;
}

void checkWalk(benchmark::State& state, const Seen& seen) {
    if (!(seen == everything())) state.SkipWithError("the walk saw something else");
    state.SetItemsProcessed(state.iterations() * itemCount);
}

struct ListSink {
    VeltoList& list;
    void integer(int value) { list += value; }
    void real(double value) { list.appendIEEE64(value); }
    void text(const std::string& value) { list += value; }
    void undefined() { list.appendEmptyItem(); }
};

struct PackSink {
    msgpack::packer<msgpack::sbuffer> packer;
    void integer(int value) { packer.pack(value); }
    void real(double value) { packer.pack(value); }
    void text(const std::string& value) { packer.pack(value); }
    void undefined() { packer.pack_nil(); }
};

void pack(msgpack::sbuffer& buffer) {
    PackSink sink{msgpack::packer<msgpack::sbuffer>(buffer)};
    sink.packer.pack_array(itemCount);
    writeItems(sink);
}

void buildList(benchmark::State& state) {
    VeltoList list;
    for (auto _ : state) {
        list.Reset();
        writeItems(ListSink{list});
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * itemCount);
}
BENCHMARK(buildList);

void buildMessagePack(benchmark::State& state) {
    msgpack::sbuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        pack(buffer);
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetItemsProcessed(state.iterations() * itemCount);
}
BENCHMARK(buildMessagePack);

Seen walk(const VeltoROList& list) {
    Seen seen;
    for (const nimb::VeltoListItem item : list) {
        const unsigned char* payload = nullptr;
        std::size_t length = 0;
        switch (item.getType(payload, length)) {
            case item_code::kPosInteger:
            case item_code::kNegInteger:
                seen.integers += item.AsLongLong();
                break;
            case item_code::kIeee:
                seen.reals += item.AsDouble();
                break;
            case item_code::kBytes:
                seen.characters += length;
                break;
            default:
                ++seen.undefined;
        }
    }
    return seen;
}

void walkList(benchmark::State& state) {
    VeltoList list;
    writeItems(ListSink{list});
    Seen seen;
    for (auto _ : state) {
        seen = walk(list);
        benchmark::DoNotOptimize(seen);
    }
    checkWalk(state, seen);
}
BENCHMARK(walkList);

/// The fastest way through MessagePack: values are handed over as they are met, no tree is built.
struct PackVisitor : msgpack::null_visitor {
    Seen seen;
    bool visit_nil() { return ++seen.undefined > 0; }
    bool visit_positive_integer(std::uint64_t value) {
        seen.integers += static_cast<long long>(value);
        return true;
    }
    bool visit_negative_integer(std::int64_t value) {
        seen.integers += value;
        return true;
    }
    bool visit_float64(double value) {
        seen.reals += value;
        return true;
    }
    bool visit_str(const char*, std::uint32_t size) {
        seen.characters += size;
        return true;
    }
};

void walkMessagePack(benchmark::State& state) {
    msgpack::sbuffer buffer;
    pack(buffer);
    Seen seen;
    for (auto _ : state) {
        PackVisitor visitor;
        msgpack::parse(buffer.data(), buffer.size(), visitor);
        seen = visitor.seen;
        benchmark::DoNotOptimize(seen);
    }
    checkWalk(state, seen);
}
BENCHMARK(walkMessagePack);

constexpr UA_DateTime someTime = 133485408001234567;
constexpr UA_DateTime ticksPerSecond = 10000000;

/// A thousand dates, `range` seconds apart: within one second, close together, one per day.
template <void (*append)(VeltoList*, const UA_DateTime*, bool)>
void writeDate(benchmark::State& state) {
    VeltoList list;
    const UA_DateTime step = state.range(0) * ticksPerSecond + 1;
    UA_DateTime steps = 0;
    for (auto _ : state) {
        const UA_DateTime time = someTime + step * (steps++ % 1000);
        list.Reset();
        append(&list, &time, false);
        benchmark::DoNotOptimize(list.data());
    }
}
BENCHMARK(writeDate<UACExport::addAsODBCDate>)->Name("odbcDate")->Arg(0)->Arg(7)->Arg(86400);
BENCHMARK(writeDate<UACExport::addAsHorolog>)->Name("horologDate")->Arg(0)->Arg(7);

/// The values of a poll, as they come out of the stack, to one nested list each. Every source time
/// lies in a second of its own; the server's times are those of one response.
void exportValues(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<double> numbers(count);
    std::vector<UA_DataValue> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        numbers[i] = static_cast<double>(i) / 8;
        UA_Variant_setScalar(&values[i].value, &numbers[i], &UA_TYPES[UA_TYPES_DOUBLE]);
        values[i].sourceTimestamp = someTime + static_cast<UA_DateTime>(i) * (ticksPerSecond + 1);
        values[i].serverTimestamp = someTime + static_cast<UA_DateTime>(i) * 7;
    }
    UACExport exporter;
    exporter.variantMode = nimb::VARIANT_NESTED;
    exporter.dataValueMode = nimb::DATA_VALUE_WITH_TIMES;
    exporter.dateMode = nimb::DATE_ODBC;
    VeltoList list;
    for (auto _ : state) {
        list.Reset();
        for (const UA_DataValue& value : values) exporter.addNestedDataValue(&list, value);
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(exportValues)->Arg(200);

void readHorolog(benchmark::State& state) {
    const VeltoList list = VeltoList() + std::string("66840,43200.123456");
    for (auto _ : state) {
        long time = 0;
        UACExport::read(&time, &list, 0, false);
        benchmark::DoNotOptimize(time);
    }
}
BENCHMARK(readHorolog);

void writeDecimal(benchmark::State& state) {
    constexpr std::array values{0.1, 42.5, -273.15, 6.02214076e23, 1.0 / 3};
    VeltoList list;
    std::size_t i = 0;
    for (auto _ : state) {
        list.Reset();
        list += values[i++ % values.size()];
        benchmark::DoNotOptimize(list.data());
    }
}
BENCHMARK(writeDecimal);

void readDecimalText(benchmark::State& state) {
    const VeltoList list = VeltoList() + std::string("-273.15");
    for (auto _ : state) benchmark::DoNotOptimize(list[0].AsDouble());
}
BENCHMARK(readDecimalText);

void decimalToText(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(VeltoROList::dblstr(-2, 123456789));
}
BENCHMARK(decimalToText);

/// A text of `range` bytes whose every eighth character lies beyond ASCII.
std::string umlauts(std::size_t size) {
    std::string text;
    while (text.size() < size) text += "Kessel \xC3\xB6";
    return text;
}

void exportText(benchmark::State& state) {
    std::string text = umlauts(static_cast<std::size_t>(state.range(0)));
    const UA_String borrowed = UACExport::AString2UAString(&text);
    UACExport exporter;
    exporter.stringMode = nimb::STRING_UTF16_OR_EMPTY;
    VeltoList list;
    for (auto _ : state) {
        list.Reset();
        exporter.add(&list, &borrowed);
        benchmark::DoNotOptimize(list.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(exportText)->Arg(18)->Arg(900);

void importText(benchmark::State& state) {
    std::string text = umlauts(static_cast<std::size_t>(state.range(0)));
    const UA_String borrowed = UACExport::AString2UAString(&text);
    const std::u16string wide = UACExport::UAString2XString(&borrowed);
    for (auto _ : state) benchmark::DoNotOptimize(UACExport::XString2UAString(&wide));
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(importText)->Arg(18)->Arg(900);

}  // namespace
