#include "model/JsonFields.h"
#include "model/JsonWriter.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace quillvane;

TEST(JsonWriter, WritesNestedContainersPrettyAndParsable)
{
    JsonWriter w;
    w.beginObject();
    w.key("Zed").integer(1); // upper case sorts before lower case in UTF-8
    w.key("a").beginArray();
    w.endArray();
    w.key("b").beginObject();
    w.endObject();
    w.key("c").stringArray({QStringLiteral("x"), QStringLiteral("y")});
    w.key("d").string(QStringLiteral("tab\there \u0001 \"quoted\" é 🎸 \\"));
    w.endObject();
    const QByteArray out = w.take();

    EXPECT_EQ(out, QByteArray("{\n  \"Zed\" : 1,\n  \"a\" : [],\n  \"b\" : {},\n  \"c\" : [\n    \"x\",\n    \"y\"\n  ],\n"
                              "  \"d\" : \"tab\\there \\u0001 \\\"quoted\\\" \xc3\xa9 \xf0\x9f\x8e\xb8 \\\\\"\n}\n"));
    const QJsonObject parsed = QJsonDocument::fromJson(out).object();
    EXPECT_EQ(parsed.value(QStringLiteral("d")).toString(), QStringLiteral("tab\there \u0001 \"quoted\" é 🎸 \\"));
}

TEST(JsonWriter, RefusesWhatWouldBreakTheDocument)
{
    const std::pair<const char *, std::function<void(JsonWriter &)>> cases[] = {
        {"keys out of order", [](JsonWriter &w) { w.beginObject(); w.key("b").integer(1); w.key("a"); }},
        {"a repeated key", [](JsonWriter &w) { w.beginObject(); w.key("a").integer(1); w.key("a"); }},
        {"a value without a key", [](JsonWriter &w) { w.beginObject(); w.integer(1); }},
        {"an unfinished document", [](JsonWriter &w) { w.beginObject(); w.take(); }},
    };
    for (const auto &[name, misuse] : cases) {
        JsonWriter w;
        EXPECT_THROW(misuse(w), std::logic_error) << name;
    }
    JsonWriter w;
    w.beginArray();
    EXPECT_THROW(w.number(std::nan(""), "a time"), EncodingError);
}
