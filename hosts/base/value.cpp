#include "base/value.h"

#include <initializer_list>
#include <iterator>

#include "base/node_id.h"
#include "base/text.h"

namespace nimb::host {

namespace {

constexpr std::size_t kValueAt = 3;  // behind both times and the status

constexpr const char* kNames[] = {
    "",
    "Boolean",
    "SByte",
    "Byte",
    "Int16",
    "UInt16",
    "Int32",
    "UInt32",
    "Int64",
    "UInt64",
    "Float",
    "Double",
    "String",
    "DateTime",
    "Guid",
    "ByteString",
    "XmlElement",
    "NodeId",
    "ExpandedNodeId",
    "StatusCode",
    "QualifiedName",
    "LocalizedText",
    "Structure",
    "DataValue",
    "Variant",
    "DiagnosticInfo",
};

/// Reads the items of one node's value.
class Reader {
  public:
    Reader(Type type, Warning& warning) : type_(type), warning_(warning) {}

    Value array(const VeltoListItem& nested, long dimensions) const {
        Array elements;
        const VeltoROList list = nested.AsVeltoROList();
        for (std::size_t i = 0, count = list.size(); i < count; ++i) {
            const VeltoListItem item = list.at(i);
            if (dimensions > 1) {
                elements.push_back(array(item, dimensions - 1));
            } else if (hasParts()) {
                elements.push_back(scalar(item.AsVeltoROList()));
            } else {
                elements.push_back(single(item));
            }
        }
        return Value(std::move(elements));
    }

    /// A value that is no array: one item for most types, several for some.
    Value scalar(const VeltoROList& items) const {
        switch (type_) {
            case Type::qualifiedName:
                return record({{"name", text(items.at(0))}, {"namespace", single(items.at(1))}});
            case Type::localizedText:
                return record({{"text", text(items.at(0))}, {"locale", text(items.at(1))}});
            case Type::nodeId:
            case Type::expandedNodeId:
                return Value(notationOf(items));
            default:
                return single(items.at(0));
        }
    }

    /// Whether an element of an array is a list of its own.
    bool hasParts() const {
        return type_ == Type::qualifiedName || type_ == Type::localizedText ||
               type_ == Type::nodeId || type_ == Type::expandedNodeId;
    }

    /// Whether the items are a nested list and its number of dimensions rather than a scalar.
    static bool isArray(const VeltoROList& items) {
        const int type = items.size() == 2 ? items.at(1).Type() : 0;
        return type == item_code::kPosInteger && items.at(1).AsLong() > 0;
    }

  private:
    Value single(const VeltoListItem& item) const {
        Value value;
        if (item.Type() != item_code::kUndefined &&
            !takeNumber(item, type_, [&value](auto number) { value = Value(number); })) {
            return textual(item);
        }
        return value;
    }

    Value textual(const VeltoListItem& item) const {
        if (type_ == Type::byteString) {
            return Value(Bytes{item.AsAString()});
        }
        if (type_ == Type::dateTime) {
            const std::optional<Ticks> time = timeOf(item);
            return time ? Value(*time) : Value();
        }
        return text(item);
    }

    Value text(const VeltoListItem& item) const {
        std::optional<std::string> valid = textOf(item);
        if (valid) {
            return Value(std::move(*valid));
        }
        if (type_ == Type::unknown) {
            return Value(Bytes{item.AsAString()});
        }
        warning_ = "the text is no UTF-8";
        return {};
    }

    static Value record(std::initializer_list<Field> fields) { return Value(Record(fields)); }

    Type type_;
    Warning& warning_;
};

/// An array of one element comes as the element.
Value enclosed(Value value, int rank) {
    if (value.isNull()) return value;
    for (int dimension = 0; dimension < (rank == 0 ? 1 : rank); ++dimension) {
        Array around;
        around.push_back(std::move(value));
        value = Value(std::move(around));
    }
    return value;
}

}  // namespace

const char* nameOf(Type type) noexcept {
    const auto number = static_cast<std::size_t>(type);
    return number < std::size(kNames) ? kNames[number] : "";
}

VeltoROList valueItems(const VeltoROList& node) {
    const unsigned char* begin = node.at(kValueAt).header();
    return {begin, static_cast<std::size_t>(node.data() + node.datalength() - begin)};
}

Value valueOf(const VeltoROList& items, Type type, int rank, Warning& warning) {
    const Reader reader(type, warning);
    const bool maybeArray = rank != -1 && (rank >= 0 || !reader.hasParts());
    if (maybeArray && Reader::isArray(items) && !(rank < 0 && type == Type::dataValue)) {
        return reader.array(items.at(0), items.at(1).AsLong());
    }
    if (type == Type::dataValue) {  // a picture of another node: its own value counts
        return items.size() > kValueAt ? valueOf(valueItems(items), Type::unknown, -2, warning)
                                       : Value();
    }
    return rank < 0 ? reader.scalar(items) : enclosed(reader.scalar(items), rank);
}

}  // namespace nimb::host
