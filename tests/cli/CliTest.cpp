// quillvane-cli as a user runs it: a real process on a HOME of its own.

#include "model/PipelineConfig.h"
#include "storage/LibraryLock.h"
#include "CliHome.h"

#include <QFileInfo>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace quillvane;
using quillvane::test::args;
using quillvane::test::CliHome;
using quillvane::test::CliResult;

TEST(CliStatus, AFreshHomeShowsTheSampleAndSavesItAndAnEditOrSettingChangesOnlyWhatIsGiven)
{
    const CliHome home;
    const CliResult text = home.run({QStringLiteral("status")});
    ASSERT_EQ(text.exitCode, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains(QStringLiteral("Neon Overpass")));
    EXPECT_TRUE(text.err.isEmpty()) << text.err.toStdString();

    const QJsonObject status = home.json({QStringLiteral("status")});
    EXPECT_EQ(status.value(QStringLiteral("stages")).toObject().value(QStringLiteral("motion")).toString(),
              QStringLiteral("inProgress"));
    EXPECT_FALSE(status.contains(QStringLiteral("lyricsSource")));

    // The first command saved the sample as the last project; show prints it exactly as saved.
    const Project before = home.savedProject();
    EXPECT_EQ(before.title, QStringLiteral("Neon Overpass"));
    const CliResult shown = home.run({QStringLiteral("show")});
    ASSERT_EQ(shown.exitCode, 0) << shown.err.toStdString();
    EXPECT_EQ(shown.out.toUtf8(), home.savedDocument());

    EXPECT_EQ(home.run(args("style --mood Quiet --negative=none")).exitCode, 0);
    EXPECT_EQ(home.run({QStringLiteral("artist"), QString()}).exitCode, 0);
    const Project saved = home.savedProject();
    EXPECT_EQ(saved.style.mood, QStringLiteral("Quiet"));
    EXPECT_EQ(saved.style.negativePrompts, QStringLiteral("none"));
    EXPECT_EQ(saved.style.paletteName, before.style.paletteName);
    EXPECT_TRUE(saved.artist.isEmpty());
    EXPECT_EQ(saved.id, before.id);
    EXPECT_EQ(saved.updatedAt, before.updatedAt) << "plain edits do not touch updatedAt";

    // The lyrics follow the backend until the project chooses; the listing shows which.
    EXPECT_EQ(home.json(args("style")).value(QStringLiteral("lyricsShown")).toString(), QStringLiteral("painted"));
    const CliResult sung = home.run(args("style --lyrics sung"));
    EXPECT_TRUE(sung.out.contains(QStringLiteral("Lyrics:      Set as sung\n"))) << sung.out.toStdString();
    EXPECT_EQ(home.savedProject().style.lyricsOnScreen, LyricsOnScreen::sung);

    // The settings print their normalised values and keep them.
    const QJsonObject changed = home.json(args("settings --model m/x --proxy-url https://studio.quillvane.app/")
                                          << QStringLiteral("--edit-workflow") << QStringLiteral(" "));
    EXPECT_EQ(changed, (QJsonObject{{QStringLiteral("generationModel"), QStringLiteral("m/x")},
                                    {QStringLiteral("editWorkflow"), QStringLiteral(" ")},
                                    {QStringLiteral("proxyBaseURL"), QString::fromUtf8(deployment::defaultProxyURL)}}));
    EXPECT_EQ(home.json({QStringLiteral("settings")}), changed);
}

TEST(CliCharacters, AddsCharactersAndImagesAndAFailedCommandChangesNothing)
{
    const CliHome home;
    const QString image = home.path(QStringLiteral("mara face.png"));
    // One red pixel, written byte for byte: the CLI decodes what it is given.
    test::writeFile(image, QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200000001000000010802000000907753de0000000c"
                                               "49444154789c63f8cfc0000003010100c9fe92ef0000000049454e44ae426082"));
    const QString notes = home.path(QStringLiteral("notes.png"));
    test::writeFile(notes, "a text file with a picture's name");
    const QString fakeTrack = home.path(QStringLiteral("cover.mp3"));
    test::writeFile(fakeTrack, "words, not sound");

    const CliResult added = home.run(args("character add") << QStringLiteral("  Mara ") << QStringLiteral("--notes")
                                     << QStringLiteral("red jacket") << QStringLiteral("--image") << image);
    ASSERT_EQ(added.exitCode, 0) << added.err.toStdString();
    EXPECT_EQ(added.out.trimmed(), QStringLiteral("Added character \"Mara\" with 1 reference image."));

    EXPECT_EQ(home.run(args("character images Mara") << image << image).exitCode, 0);
    const CharacterReference mara = home.savedProject().characters.value(0);
    EXPECT_EQ(mara.name, QStringLiteral("Mara"));
    EXPECT_EQ(mara.notes, QStringLiteral("red jacket"));
    EXPECT_EQ(mara.referenceImagePaths, (QStringList{image, image, image}));

    const QByteArray document = home.savedDocument();
    const struct {
        QStringList arguments;
        QString sentence;
    } failures[] = {
        {args("character images Nobody") << image, QStringLiteral("error: No character named \"Nobody\".")},
        {args("character add Theo --image") << home.path(QStringLiteral("missing.png")),
         QStringLiteral("error: No readable image file at ") + home.path(QStringLiteral("missing.png")) + QLatin1Char('.')},
        {args("character images Mara") << image << notes,
         QStringLiteral("error: notes.png is not an image Quillvane can read.")},
        {args("character images Mara --remove") << notes,
         QStringLiteral("error: \"Mara\" has no reference image ") + notes + QLatin1Char('.')},
        {{QStringLiteral("import"), fakeTrack}, QStringLiteral("error: cover.mp3 is not an audio file Quillvane can read.")},
    };
    for (const auto &failure : failures) {
        const CliResult result = home.run(failure.arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err.trimmed().split(QLatin1Char('\n')).last(), failure.sentence);
        EXPECT_EQ(home.savedDocument(), document) << "a failed command changes nothing";
    }
    {
        const LibraryLock app(home.dataHome() + QStringLiteral("/Quillvane/library.lock"));
        const CliResult second = home.run(args("title Stolen"));
        EXPECT_EQ(second.exitCode, 1);
        EXPECT_EQ(second.err.trimmed(),
                  QStringLiteral("error: Quillvane is already open on this library. Close it and try again."));
        EXPECT_EQ(home.savedDocument(), document);
    }

    // Once the app lets go, the next writer gets in; taking images and characters away
    // leaves the files where they are.
    const QJsonObject fewer =
        home.json(args("character images Mara --remove") << image << QStringLiteral("--remove") << image);
    EXPECT_EQ(fewer.value(QStringLiteral("referenceImagePaths")).toArray().size(), 1);
    const CliResult removed = home.run(args("character remove Mara"));
    ASSERT_EQ(removed.exitCode, 0) << removed.err.toStdString();
    EXPECT_TRUE(home.savedProject().characters.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(image));
}

TEST(CliUsage, MistakesExitTwoWithAOneLineHintAndHelpTouchesNothing)
{
    const CliHome home;
    const struct {
        QStringList arguments;
        QString hint;
    } cases[] = {
        {{}, QStringLiteral("no command given")},
        {{QStringLiteral("render")}, QStringLiteral("unknown command \"render\"")},
        {args("status --all"), QStringLiteral("unknown option --all")},
        {args("status extra"), QStringLiteral("too many arguments")},
        {{QStringLiteral("title")}, QStringLiteral("missing arguments: title TITLE")},
        {{QStringLiteral("character")}, QStringLiteral("character needs a subcommand")},
        {args("character add") << QStringLiteral("   "), QStringLiteral("the character name must not be blank")},
        {args("--service-url ftp://x status"), QStringLiteral("--service-url needs an http or https URL")},
        {args("settings --backend cloud"), QStringLiteral("--backend needs service or offline")},
        {args("export --shape 4:3"), QStringLiteral("--shape needs 16:9 (wide), 9:16 (tall) or 1:1 (square), not 4:3")},
        {args("run song.mp3 --shape tall"), QStringLiteral("--shape needs 16:9 (wide)")},
        {args("run a.mp3 --lyrics sideways"), QStringLiteral("--lyrics needs painted, sung or both")},
    };
    for (const auto &c : cases) {
        const CliResult result = home.run(c.arguments);
        const QString context = c.arguments.join(QLatin1Char(' '));
        EXPECT_EQ(result.exitCode, 2) << context.toStdString();
        EXPECT_TRUE(result.out.isEmpty()) << context.toStdString();
        EXPECT_EQ(result.err.count(QLatin1Char('\n')), 1) << context.toStdString() << ": " << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(c.hint)) << context.toStdString() << ": " << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("--help"))) << context.toStdString();
    }
    // Help explains every command the same way.
    for (const QStringList &command : {QStringList{}, args("character add")}) {
        const CliResult result = home.run(command + QStringList{QStringLiteral("--help")});
        EXPECT_EQ(result.exitCode, 0) << command.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(result.out.startsWith(QStringLiteral("usage: quillvane-cli"))) << result.out.toStdString();
    }
    EXPECT_FALSE(QFileInfo::exists(home.dataHome())) << "neither a usage error nor help touches anything";
}
