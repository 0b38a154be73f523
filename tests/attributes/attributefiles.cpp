#include "attributefiles.h"

namespace skar::tests {

Bytes SummaryWords::bytes() const {
    Bytes body;
    if (version == 2) body.word("data version", dataVersion);
    body.word("length of source", source.size()).text("source", source);
    body.word("status", status).word("records", records).word("scale", scale).word("reference", reference);
    body.word("minimum", minimum).word("maximum", maximum);
    body.word("summary attributes", summaryAttributes.size()).word("reserved", 0);
    body.word("attributes", attributes.size()).word("reserved", 0);
    for (const auto& [type, name] : summaryAttributes)
        body.word("type", type).text("name", name);
    body.then(summaryValues);
    body.word("largest record", largest);
    for (const auto& [type, name] : attributes)
        body.word("type", type).text("name", name);
    Bytes all;
    all.word("size of summary", body.size() + 4);
    return all.then(body);
}

Bytes SummaryWords::file() const {
    Bytes all;
    return all.validation(sensorNumber, 1, version).then(bytes());
}

Bytes indexBytes(const std::vector<std::vector<std::pair<std::int32_t, std::int32_t>>>& sets,
                 std::uint32_t version, std::uint32_t capacity) {
    Bytes all;
    all.word("token", 0x54454C44).word("version", version).word("sets", sets.size());
    all.word("capacity", capacity);
    for (const auto& set : sets) {
        std::int32_t smallest = 0x7FFFFFFF;
        std::int32_t largest = -0x7FFFFFFF - 1;
        for (const auto& [time, offset] : set) {
            smallest = std::min(smallest, time);
            largest = std::max(largest, time);
        }
        all.word("count", set.size()).word("smallest time", smallest).word("largest time", largest);
    }
    for (const auto& set : sets) {
        all.word("count", set.size());
        for (const auto& [time, offset] : set)
            all.word("time", time).word("offset", offset);
    }
    return all;
}

void AttributeFiles::writeThree() const {
    OpenDataFile file = create();
    ASSERT_EQ(0u, file.AddAttribute(SKARIOAttributes::typeFloat, L"Depth"));
    for (int i = 1; i <= 3; ++i)
        ASSERT_EQ(0u, file.WriteRecord(3724.5 + i, static_cast<unsigned>(10 + i),
                                       {real(static_cast<float>(i))}, {}));
}

} // namespace skar::tests
