#include "cli/ArgParser.h"

#include <gtest/gtest.h>

using namespace quillvane::cli;

namespace {

const QList<OptionSpec> specs = {
    {QStringLiteral("json"), {}, {}},
    {QStringLiteral("notes"), QStringLiteral("T"), {}},
    {QStringLiteral("image"), QStringLiteral("PATH"), {}, true},
};

} // namespace

TEST(ArgParser, SeparatesOptionsFromPositionalArgumentsAndRejectsWhatItCannotRead)
{
    const struct {
        QStringList arguments;
        QStringList positional;
        QStringList images;
        std::optional<QString> notes;
        bool json;
    } cases[] = {
        {{QStringLiteral("Mara")}, {QStringLiteral("Mara")}, {}, std::nullopt, false},
        {{QStringLiteral("--notes"), QStringLiteral("--json"), QStringLiteral("Mara")},
         {QStringLiteral("Mara")}, {}, QStringLiteral("--json"), false},
        {{QStringLiteral("--notes="), QStringLiteral("Mara")}, {QStringLiteral("Mara")}, {}, QString(), false},
        {{QStringLiteral("--notes=a=b"), QStringLiteral("--json")}, {}, {}, QStringLiteral("a=b"), true},
        {{QStringLiteral("--image"), QStringLiteral("1"), QStringLiteral("x"), QStringLiteral("--image=2")},
         {QStringLiteral("x")}, {QStringLiteral("1"), QStringLiteral("2")}, std::nullopt, false},
        {{QStringLiteral("-"), QStringLiteral("-3.5")}, {QStringLiteral("-"), QStringLiteral("-3.5")}, {}, std::nullopt,
         false},
        {{QStringLiteral("--"), QStringLiteral("--json"), QStringLiteral("--notes")},
         {QStringLiteral("--json"), QStringLiteral("--notes")}, {}, std::nullopt, false},
    };
    for (const auto &c : cases) {
        const ParsedArgs parsed = parseArgs(c.arguments, specs);
        const std::string context = c.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_EQ(parsed.positional, c.positional) << context;
        EXPECT_EQ(parsed.values(QStringLiteral("image")), c.images) << context;
        EXPECT_EQ(parsed.value(QStringLiteral("notes")), c.notes) << context;
        EXPECT_EQ(parsed.has(QStringLiteral("json")), c.json) << context;
    }
    const QStringList bad[] = {
        {QStringLiteral("--colour")},
        {QStringLiteral("--notes")},
        {QStringLiteral("--notes"), QStringLiteral("a"), QStringLiteral("--notes"), QStringLiteral("b")},
        {QStringLiteral("--json=yes")},
    };
    for (const QStringList &arguments : bad)
        EXPECT_THROW(parseArgs(arguments, specs), UsageError) << arguments.join(QLatin1Char(' ')).toStdString();
}
