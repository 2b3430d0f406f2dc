#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

/// Fills records by reflection, so that a field that is added to the protocol is tested at once.
class EveryField
{
public:
    /// Other seeds give other values: texts of other scripts, extreme numbers, other enum values
    /// and oneof members, other lengths of lists.
    explicit EveryField(std::uint64_t seed) : m_state(seed * 2654435761U + 1) { }

    /// Also puts a field that no schema knows into every record.
    EveryField &withUnknownFields()
    {
        m_withUnknownFields = true;
        return *this;
    }

    /// Sets every field of the record and of those inside it, down to `depth` levels.
    void fill(google::protobuf::Message *record, int depth = 5)
    {
        using namespace google::protobuf;
        const Descriptor *descriptor = record->GetDescriptor();
        for (int i = 0; i < descriptor->field_count(); ++i) {
            const FieldDescriptor *field = descriptor->field(i);
            if (!field->real_containing_oneof())
                fill(record, field, depth);
        }
        for (int i = 0; i < descriptor->real_oneof_decl_count(); ++i) {
            const OneofDescriptor *choice = descriptor->oneof_decl(i);
            // Deep inside, a content is a text: its first member.
            const int member = depth > 2 ? below(choice->field_count()) : 0;
            fill(record, choice->field(member), depth);
        }
        addUnknown(record);
    }

    /// Sets one field, which may be a member of a oneof, and all that is inside it.
    void fill(google::protobuf::Message *record, const google::protobuf::FieldDescriptor *field,
              int depth = 5)
    {
        using google::protobuf::FieldDescriptor;
        const auto *reflection = record->GetReflection();
        const int count = field->is_repeated() ? 1 + below(3) : 1;
        for (int i = 0; i < count; ++i) {
            if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
                auto *inner = field->is_repeated() ? reflection->AddMessage(record, field)
                                                   : reflection->MutableMessage(record, field);
                if (depth > 0)
                    fill(inner, depth - 1);
            } else {
                setScalar(record, field);
            }
        }
    }

    /// Puts a field that no schema knows into the record, if asked for.
    void addUnknown(google::protobuf::Message *record)
    {
        if (m_withUnknownFields)
            record->GetReflection()->MutableUnknownFields(record)->AddVarint(9999, next());
    }

private:
    std::uint64_t next()
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return m_state;
    }

    int below(int bound) { return int(next() % std::uint64_t(bound)); }

    template <typename Integer>
    Integer integer()
    {
        using Limits = std::numeric_limits<Integer>;
        const Integer values[] = {Integer(1 + below(1000)), Limits::max(), Limits::min(),
                                  Integer(-1)};
        return values[below(4)];
    }

    double real()
    {
        const double values[] = {121.473701, -0.1, 1e-17, -179.99999999999997};
        return values[below(4)];
    }

    std::string text()
    {
        // Offsets count the byte order mark, too.
        const char *values[] = {"Grüße 🎉", "שלום \"a\"\\b\n", "漢字\u0001", "ok", "\ufeffok"};
        return values[below(5)] + std::to_string(below(1000));
    }

    std::string bytes()
    {
        std::string value(std::size_t(1 + below(40)), '\0');
        for (char &c : value)
            c = char(next());
        return value;
    }

    void setScalar(google::protobuf::Message *record,
                   const google::protobuf::FieldDescriptor *field)
    {
        using google::protobuf::FieldDescriptor;
        const auto *reflection = record->GetReflection();
        const bool isList = field->is_repeated();
        switch (field->cpp_type()) {
#define SET(TYPE, VALUE)                                                                           \
    isList ? reflection->Add##TYPE(record, field, VALUE)                                           \
           : reflection->Set##TYPE(record, field, VALUE);                                          \
    break
        case FieldDescriptor::CPPTYPE_INT32:
            SET(Int32, integer<std::int32_t>());
        case FieldDescriptor::CPPTYPE_INT64:
            SET(Int64, integer<std::int64_t>());
        case FieldDescriptor::CPPTYPE_UINT32:
            SET(UInt32, integer<std::uint32_t>());
        case FieldDescriptor::CPPTYPE_UINT64:
            SET(UInt64, integer<std::uint64_t>());
        case FieldDescriptor::CPPTYPE_DOUBLE:
            SET(Double, real());
        case FieldDescriptor::CPPTYPE_FLOAT:
            SET(Float, float(real()));
        case FieldDescriptor::CPPTYPE_BOOL:
            SET(Bool, true);
        case FieldDescriptor::CPPTYPE_ENUM:
            // Often one of a newer protocol.
            SET(EnumValue,
                below(4) == 0 ? 4000
                              : 1 + below(std::max(1, field->enum_type()->value_count() - 1)));
        case FieldDescriptor::CPPTYPE_STRING:
            SET(String, field->type() == FieldDescriptor::TYPE_BYTES ? bytes() : text());
        case FieldDescriptor::CPPTYPE_MESSAGE:
            break;
#undef SET
        }
    }

    std::uint64_t m_state;
    bool m_withUnknownFields = false;
};
