// The desktop app as a person meets it: the real quillvane binary in a real X window, driven
// by keys and clicks. Each control is found in the offscreen window of the same project, so
// the tests follow the layout wherever it moves.

#include "XSession.h"

#include "../ui/UiHarness.h"
#include "pipeline/MediaOperations.h"
#include "model/ProjectJson.h"
#include "storage/Preferences.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>

namespace quillvane::test {
namespace {

using namespace std::chrono_literals;

// A neutral place for the pointer between actions, so no control shows its hover state.
const QPointF restingPoint(600, 12);

class RealWindowTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!x.running())
            GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
        ASSERT_TRUE(home.isValid());
    }

    QString dataPath(const QString &relative) const { return home.filePath(relative); }

    ProjectLibrary library() const
    {
        return ProjectLibrary(dataPath(QStringLiteral("data/Quillvane/projects")),
                              Preferences(dataPath(QStringLiteral("config/Quillvane/Quillvane.conf"))));
    }

    // The project the app opens: saved as the library's last project.
    void save(const Project &project) { library().save(project); }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home.path());
        env.insert(QStringLiteral("XDG_DATA_HOME"), dataPath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), dataPath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), dataPath(QStringLiteral("cache")));
        // Qt's own chooser, the one a desktop without a chooser of its own gets.
        env.insert(QStringLiteral("QT_QPA_PLATFORMTHEME"), QString());
        // Drawn without OpenGL: Mesa's GLX on a bare X server is not what is under test, and its
        // Xlib error handler ends the process on a stray BadWindow.
        env.insert(QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none"));
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
        return env;
    }

    void launch(const QStringList &arguments = {})
    {
        ASSERT_TRUE(x.launch(QStringLiteral(QUILLVANE_APP), arguments, environment(), QStringLiteral("Quillvane")))
            << (x.appAlive() ? "the window did not show: " : "the app ended: ") << qPrintable(x.appOutput());
    }

    // Where a control of that name is in the window on that stage, read off the offscreen
    // window of the same project; empty when it is not shown there.
    static QRectF rectOf(const Project &project, int stage, const QString &objectName,
                         const std::function<void(UiHarness &)> &prepare = {})
    {
        UiHarness harness(project);
        harness.bridges.session.setSelectedStage(stage);
        if (prepare)
            prepare(harness);
        harness.settle();
        const QQuickItem *item = harness.find(objectName);
        return item && item->isVisible() ? item->mapRectToScene(QRectF(0, 0, item->width(), item->height())) : QRectF();
    }

    static QPointF centreOf(const Project &project, int stage, const QString &objectName,
                            const std::function<void(UiHarness &)> &prepare = {})
    {
        const QRectF rect = rectOf(project, stage, objectName, prepare);
        return rect.isEmpty() ? QPointF(-1, -1) : rect.center();
    }

    QImage settledGrab(std::chrono::milliseconds wait = 600ms)
    {
        x.move(restingPoint);
        processEventsFor(wait);
        return x.grab();
    }

    // Keeps a picture for a person to look at when a comparison fails.
    static void keep(const QImage &image, const QString &name)
    {
        QDir().mkpath(QStringLiteral(QUILLVANE_SCREENSHOT_DIR));
        image.save(QStringLiteral(QUILLVANE_SCREENSHOT_DIR "/window-") + name + QStringLiteral(".png"));
    }

    QString track(const QString &name, int seconds)
    {
        const QString path = home.filePath(name);
        QProcess ffmpeg;
        ffmpeg.start(QStringLiteral("ffmpeg"),
                     {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                      QStringLiteral("lavfi"), QStringLiteral("-i"),
                      QStringLiteral("sine=frequency=330:duration=%1").arg(seconds), path});
        ffmpeg.waitForFinished(30000);
        return path;
    }

    Project projectWithTrack()
    {
        Project project;
        project.title = QStringLiteral("Window Song");
        project.artist = QStringLiteral("The Testers");
        project.audioPath = track(QStringLiteral("song.m4a"), 8);
        project.rawLyrics = QStringLiteral("first line\nsecond line");
        project.lyricsSource = LyricsSource::manual;
        CharacterReference character;
        character.name = QStringLiteral("Mia");
        project.characters = {character};
        return project;
    }

    QTemporaryDir home;
    XSession x;
};

// One launch walks the window: Ctrl+1 to Ctrl+9 show nine different screens, and each
// chooser opens over the window and Escape closes it, with the app alive through all of it.
// (The audio file chooser is the next test's, which also takes a file from it.)
TEST_F(RealWindowTest, NineScreensAndEveryChooserWithoutEndingTheApp)
{
    const Project project = projectWithTrack();
    save(project);
    struct Chooser {
        const char *button;
        int stage;
        QPointF centre;
    };
    Chooser choosers[] = {{"replaceButton", 0, {}}, {"addReferencesButton", 2, {}}, {"chooseFolderButton", 8, {}}};
    for (Chooser &chooser : choosers) {
        chooser.centre = centreOf(project, chooser.stage, QString::fromLatin1(chooser.button));
        ASSERT_GE(chooser.centre.x(), 0) << "no " << chooser.button << " on stage " << chooser.stage;
    }

    ASSERT_NO_FATAL_FAILURE(launch());
    QList<QImage> screens;
    for (int stage = 1; stage <= 9; ++stage) {
        x.key(QStringLiteral("ctrl+%1").arg(stage));
        screens.append(settledGrab());
    }
    ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
    for (int a = 0; a < screens.size(); ++a) {
        for (int b = a + 1; b < screens.size(); ++b)
            EXPECT_TRUE(differs(screens[a], screens[b])) << "Ctrl+" << a + 1 << " and Ctrl+" << b + 1;
    }

    for (const Chooser &chooser : choosers) {
        SCOPED_TRACE(chooser.button);
        x.key(QStringLiteral("ctrl+%1").arg(chooser.stage + 1));
        const QImage before = settledGrab();
        x.click(chooser.centre);
        const QImage opened = settledGrab(1200ms);
        ASSERT_TRUE(x.appAlive()) << "the chooser ended the app: " << qPrintable(x.appOutput());
        EXPECT_TRUE(differs(before, opened)) << "no chooser opened";
        x.key(QStringLiteral("Escape"));
        const QImage after = settledGrab();
        ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
        EXPECT_FALSE(differs(before, after)) << "the chooser did not close";
        const QString name = QString::fromLatin1(chooser.button);
        keep(opened, name + QStringLiteral("-open"));
        if (differs(before, after)) {
            keep(before, name + QStringLiteral("-before"));
            keep(after, name + QStringLiteral("-after"));
        }
    }
}

// The chooser starts in the user's Music folder; Return takes the file it has selected.
TEST_F(RealWindowTest, ATrackChosenInTheChooserBecomesTheProjectsTrack)
{
    ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral("Music")));
    const QString tone = track(QStringLiteral("Music/tone.m4a"), 3);
    const Project project;
    save(project);
    const QPointF button = centreOf(project, 0, QStringLiteral("chooserButton"));
    ASSERT_NO_FATAL_FAILURE(launch());
    x.click(button);
    processEventsFor(1500ms);
    x.key(QStringLiteral("Return"));
    const bool imported = processEventsUntil(
        [&] {
            const std::optional<Project> saved = library().loadLastProject();
            return saved && saved->audioPath == tone;
        },
        20s);
    ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
    EXPECT_TRUE(imported) << "the chosen track did not become the project's";
}

TEST_F(RealWindowTest, CancelInTheBottomStripStopsARunningRender)
{
    // Eight accepted frames of long clips: a render that runs well past the click on Cancel.
    Project project = projectWithTrack();
    QImage still(1280, 720, QImage::Format_RGB32);
    QPainter painter(&still);
    painter.fillRect(still.rect(), QColor(20, 60, 80));
    painter.fillRect(QRect(300, 200, 600, 300), QColor(220, 120, 40));
    painter.end();
    const QString stillPath = home.filePath(QStringLiteral("still.png"));
    ASSERT_TRUE(still.save(stillPath));
    for (int i = 0; i < 8; ++i) {
        StoryboardChunk chunk = chunkWithFrame(true);
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = i * 8.0;
        chunk.end = (i + 1) * 8.0;
        chunk.lyricExcerpt = chunk.renderedText = QStringLiteral("line %1").arg(i + 1);
        chunk.frame->localPath = stillPath;
        chunk.frame->motionClipPath.reset();
        project.chunks.append(chunk);
    }
    project.motion.durationSeconds = 8;
    project.motion.fps = 30;
    save(project);
    const int motionStage = 6;
    const QPointF render = centreOf(project, motionStage, QStringLiteral("renderButton"));
    const auto running = [](UiHarness &h) {
        h.store.session().setRunningTask(motionLabel);
        h.store.session().setTaskProgress(0.05);
    };
    const QPointF cancel = centreOf(project, motionStage, QStringLiteral("cancelButton"), running);
    const QRect strip = rectOf(project, motionStage, QStringLiteral("bottomStrip"), running).toAlignedRect();
    ASSERT_GE(render.x(), 0);
    ASSERT_GE(cancel.x(), 0);

    ASSERT_NO_FATAL_FAILURE(launch());
    x.key(QStringLiteral("ctrl+7"));
    const QImage idle = settledGrab();
    x.click(render);
    ASSERT_TRUE(processEventsUntil([&] { return differs(idle, x.grab(), strip); }, 10s)) << "no task appeared";
    x.click(cancel);
    processEventsFor(2s);
    ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
    const QDir clips(library().mediaFor(project.id).clipsFolder());
    const qsizetype clipsAfterCancel = clips.entryList(QDir::Files).size();
    processEventsFor(3s);
    EXPECT_FALSE(differs(idle, settledGrab(), strip)) << "the task is still showing";
    EXPECT_EQ(clips.entryList(QDir::Files).size(), clipsAfterCancel) << "clips kept coming after Cancel";
    EXPECT_LT(clipsAfterCancel, 8);
}

TEST_F(RealWindowTest, ARefusedTrackLeavesTheProjectAsItWas)
{
    const Project project = projectWithTrack();
    save(project);
    // A picture with an audio file's name.
    QImage picture(64, 64, QImage::Format_RGB32);
    picture.fill(Qt::magenta);
    const QString fake = home.filePath(QStringLiteral("cover.mp3"));
    ASSERT_TRUE(picture.save(fake, "PNG"));

    ASSERT_NO_FATAL_FAILURE(launch({fake}));
    processEventsFor(2s);
    ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
    const QImage refused = settledGrab();
    x.key(QStringLiteral("Escape"));
    EXPECT_TRUE(differs(refused, settledGrab())) << "no refusal was shown";
    processEventsFor(1500ms); // past the save delay
    const std::optional<Project> saved = library().loadLastProject();
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->audioPath, project.audioPath);
    EXPECT_EQ(saved->title, project.title);
    EXPECT_EQ(saved->rawLyrics, project.rawLyrics);
}

} // namespace
} // namespace quillvane::test
