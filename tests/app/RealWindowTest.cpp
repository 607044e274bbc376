// The desktop app as a person meets it: the real quillvane binary in a real X window, driven
// by keys and clicks. Each control is found in the offscreen window of the same project, so
// the tests follow the layout wherever it moves.

#include "XSession.h"

#include "../ui/UiHarness.h"
#include "pipeline/MediaOperations.h"
#include "storage/Preferences.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>

namespace quillvane::test {
namespace {

using namespace std::chrono_literals;

class RealWindowTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!x.running())
            GTEST_SKIP() << "Xvfb is not installed (scripts/setup installs it)";
        ASSERT_TRUE(home.isValid());
    }

    ProjectLibrary library() const
    {
        return ProjectLibrary(home.filePath(QStringLiteral("data/Quillvane/projects")),
                              Preferences(home.filePath(QStringLiteral("config/Quillvane/Quillvane.conf"))));
    }

    // Opens the app on that project, saved as the library's last one.
    void launch(const Project &project, const QStringList &arguments = {})
    {
        library().save(project);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home.path());
        for (const char *kind : {"DATA", "CONFIG", "CACHE"})
            env.insert(QStringLiteral("XDG_%1_HOME").arg(QLatin1String(kind)), home.filePath(QString::fromLatin1(kind).toLower()));
        // Qt's own chooser, the one a desktop without a chooser of its own gets; drawn without
        // OpenGL, whose Xlib error handler ends the process on a stray BadWindow of a bare X server.
        env.insert(QStringLiteral("QT_QPA_PLATFORMTHEME"), QString());
        env.insert(QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none"));
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
        ASSERT_TRUE(x.launch(QStringLiteral(QUILLVANE_APP), arguments, env, QStringLiteral("Quillvane")))
            << (x.appAlive() ? "the window did not show: " : "the app ended: ") << qPrintable(x.appOutput());
    }

    // Where a control of that name is in the window on that stage, read off the offscreen
    // window of the same project; empty when it is not shown there.
    static QRectF rectOf(const Project &project, int stage, const char *objectName,
                         const std::function<void(UiHarness &)> &prepare = {})
    {
        UiHarness harness(project, PipelineStage(stage));
        if (prepare)
            prepare(harness);
        harness.settle();
        const QQuickItem *item = harness.find(objectName);
        return item && item->isVisible() ? item->mapRectToScene(QRectF(0, 0, item->width(), item->height())) : QRectF();
    }

    // The window once the pointer rests where no control shows its hover state.
    QImage settledGrab(std::chrono::milliseconds wait = 600ms)
    {
        x.move(QPointF(600, 12));
        processEventsFor(wait);
        return x.grab();
    }

    QString track(const QString &name, int seconds)
    {
        const QString path = home.filePath(name);
        QProcess ffmpeg;
        ffmpeg.start(QStringLiteral("ffmpeg"), QStringLiteral("-v error -y -f lavfi -i sine=frequency=330:duration=%1")
                                                   .arg(seconds).split(QLatin1Char(' ')) << path);
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
        project.characters = {{QUuid::createUuid(), QStringLiteral("Mia"), QString(), {}}};
        return project;
    }

    QTemporaryDir home;
    XSession x;
};

// One launch walks the window: Ctrl+1 to Ctrl+9 show nine different screens, each chooser
// opens over the window and Escape closes it, and the track chooser, which starts in the
// user's Music folder, takes the file it has selected on Return; the app alive through it all.
TEST_F(RealWindowTest, NineScreensAndEveryChooserWithoutEndingTheApp)
{
    ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral("Music")));
    const QString tone = track(QStringLiteral("Music/tone.m4a"), 3);
    const Project project = projectWithTrack();
    struct Chooser {
        const char *button;
        int stage;
        QPointF centre;
    } choosers[] = {{"addReferencesButton", 2, {}}, {"chooseFolderButton", 8, {}}, {"replaceButton", 0, {}}};
    for (Chooser &chooser : choosers) {
        chooser.centre = rectOf(project, chooser.stage, chooser.button).center();
        ASSERT_FALSE(chooser.centre.isNull()) << "no " << chooser.button << " on stage " << chooser.stage;
    }

    ASSERT_NO_FATAL_FAILURE(launch(project));
    QList<QImage> screens;
    for (int stage = 1; stage <= 9; ++stage) {
        x.key(QStringLiteral("ctrl+%1").arg(stage));
        // A loaded machine may take a moment longer to draw the next screen.
        QImage screen;
        processEventsUntil([&] { return differs(screens.value(stage - 2), screen = settledGrab()); }, 5s);
        screens.append(screen);
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
        EXPECT_FALSE(differs(before, settledGrab())) << "the chooser did not close";
        ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
    }
    x.click(choosers[2].centre);
    processEventsFor(1500ms);
    x.key(QStringLiteral("Return"));
    EXPECT_TRUE(processEventsUntil([&] { return library().loadLastProject().value_or(Project{}).audioPath == tone; }, 20s))
        << "the chosen track did not become the project's";
    ASSERT_TRUE(x.appAlive()) << qPrintable(x.appOutput());
}

TEST_F(RealWindowTest, CancelInTheBottomStripStopsARunningRender)
{
    // Eight accepted frames of long clips: a render that runs well past the click on Cancel.
    Project project = projectWithTrack();
    QImage still(1280, 720, QImage::Format_RGB32);
    still.fill(QColor(20, 60, 80));
    const QString stillPath = home.filePath(QStringLiteral("still.png"));
    ASSERT_TRUE(still.save(stillPath));
    project.chunks = withChunks(8, 8).chunks;
    for (StoryboardChunk &chunk : project.chunks) {
        chunk.start = chunk.index * 8.0;
        chunk.end = chunk.start + 8.0;
        chunk.lyricExcerpt = chunk.renderedText;
        chunk.frame->localPath = stillPath;
    }
    project.motion.durationSeconds = 8;
    project.motion.fps = 30;
    const int motionStage = 6;
    const auto running = [](UiHarness &h) {
        h.store.session().setRunningTask(motionLabel);
        h.store.session().setTaskProgress(0.05);
    };
    const QPointF render = rectOf(project, motionStage, "renderButton").center();
    const QRectF cancel = rectOf(project, motionStage, "cancelButton", running);
    const QRect strip = rectOf(project, motionStage, "bottomStrip", running).toAlignedRect();
    ASSERT_FALSE(render.isNull() || cancel.isEmpty());

    ASSERT_NO_FATAL_FAILURE(launch(project));
    x.key(QStringLiteral("ctrl+7"));
    const QImage idle = settledGrab();
    x.click(render);
    ASSERT_TRUE(processEventsUntil([&] { return differs(idle, x.grab(), strip); }, 10s)) << "no task appeared";
    x.click(cancel.center());
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
    // A picture with an audio file's name.
    QImage picture(64, 64, QImage::Format_RGB32);
    picture.fill(Qt::magenta);
    const QString fake = home.filePath(QStringLiteral("cover.mp3"));
    ASSERT_TRUE(picture.save(fake, "PNG"));

    ASSERT_NO_FATAL_FAILURE(launch(project, {fake}));
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
