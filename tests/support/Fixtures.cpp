#include <sys/stat.h>
#include "support/Fixtures.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <csignal>

namespace quillvane::test {

namespace {

GeneratedFrame frame(const QString &name, bool accepted)
{
    GeneratedFrame f;
    f.localPath = QStringLiteral("/library/frames/") + name + QStringLiteral(".png");
    f.remoteURL = QStringLiteral("https://fal.media/files/") + name + QStringLiteral(".png");
    f.prompt = QStringLiteral("Painted \"") + name + QStringLiteral("\" on a wet wall");
    f.editRequest = QStringLiteral("make the letters larger");
    f.motionClipPath = QStringLiteral("/library/clips/") + name + QStringLiteral(".mov");
    f.review = {accepted, accepted, accepted, accepted, accepted};
    f.createdAt = QDateTime(QDate(2025, 3, 14), QTime(9, 26, 53), Qt::UTC);
    return f;
}

} // namespace

StoryboardChunk chunkWithFrame(bool accepted)
{
    StoryboardChunk chunk;
    chunk.frame = frame(QStringLiteral("current"), accepted);
    return chunk;
}

Project fullyPopulatedProject()
{
    Project project;
    project.title = QStringLiteral("Live / Remix 2");
    project.artist = QStringLiteral("Ünïcødé Band 🎸");
    project.audioPath = QStringLiteral("/music/live remix.mp3");
    project.audioDuration = 211.25;
    project.rawLyrics = QStringLiteral("Line one\nLine \"two\"\ttabbed\n\\ back slash");
    project.transcript = {{QUuid::createUuid(), QStringLiteral("Line one"), 0.25, 3.125, {}},
                          {QUuid::createUuid(), QStringLiteral("Line two"), 3.125, 7.0000001,
                           {{QStringLiteral("Line"), 3.125, 3.5}, {QStringLiteral("two"), 3.5, 7.0000001}}}};
    project.lyricsSource = LyricsSource::embeddedMismatch;

    PlanElement element{QStringLiteral("hero car/red"), QStringLiteral("prop"), QStringLiteral("A red coupé"),
                        QStringLiteral("red car, studio light"), QStringLiteral("https://fal.media/car.png"),
                        QStringLiteral("/library/elements/hero_car-red.png")};
    project.plan = StoryboardPlan{QStringLiteral("Neon noir"), QStringLiteral("Cinematic"),
                                  {QStringLiteral("#FF6F59"), QStringLiteral("teal")},
                                  QStringLiteral("Letters"), QStringLiteral("A night drive"),
                                  QStringLiteral("calm to bright"), QStringLiteral("the overpass"),
                                  {element, PlanElement{QStringLiteral("sky"), {}, {}, {}, {}, {}}},
                                  QStringLiteral("{\"raw\": true}")};
    project.conceptPrompt = QStringLiteral("Rain and chalk");

    StoryboardChunk chunk;
    chunk.end = 4.5;
    chunk.lyricExcerpt = QStringLiteral("Line one");
    chunk.renderedText = QStringLiteral("LINE ONE");
    chunk.surface = QStringLiteral("brick wall");
    chunk.primaryCharacterInFrame = true;
    chunk.elementIdsUsed = {QStringLiteral("hero car/red")};
    chunk.imagePrompt = QStringLiteral("a wall");
    chunk.videoPrompt = QStringLiteral("slow push");
    chunk.characterID = QUuid::createUuid();
    chunk.frame = frame(QStringLiteral("current"), true);
    chunk.undoStack = {frame(QStringLiteral("older"), false), frame(QStringLiteral("old"), false)};
    chunk.redoStack = {frame(QStringLiteral("newer"), false)};
    StoryboardChunk bare;
    bare.index = 1;
    bare.chunkNumber = 2;
    project.chunks = {chunk, bare};

    project.characters = {CharacterReference{*chunk.characterID, QStringLiteral("Mara"), QStringLiteral("red jacket"),
                                             {QStringLiteral("/pics/mara 1.png"), QStringLiteral("/pics/mara2.jpg")}}};
    project.style.continuityNotes = QStringLiteral("Warm dusk");
    project.motion = {0.75, 0.2, 5.5, 24, false, ClipTiming::fixedLength};
    project.exportSettings = {ExportResolution::p2160, ExportContainer::mov, false, QStringLiteral("/exports here")};
    project.createdAt = QDateTime(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC);
    project.updatedAt = QDateTime(QDate(2025, 1, 1), QTime(0, 0, 1), Qt::UTC);
    return project;
}

ProjectLibrary TempLibrary::library() const
{
    return ProjectLibrary(m_dir.filePath(QStringLiteral("projects")),
                          Preferences(m_dir.filePath(QStringLiteral("config/Quillvane.conf"))));
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}

bool processEventsUntil(const std::function<bool()> &done, std::chrono::milliseconds limit)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < limit.count()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return done();
}

void processEventsFor(std::chrono::milliseconds duration)
{
    processEventsUntil([] { return false; }, duration);
}

std::string testName(const char *description)
{
    std::string name;
    for (const char *p = description; *p; ++p)
        name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
    return name;
}

FileSizeLimit::FileSizeLimit(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_saved);
    rlimit limit = m_saved;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &m_saved);
}

QString fileIdentity(const QString &path)
{
    struct stat info {};
    if (stat(path.toLocal8Bit().constData(), &info) != 0)
        return {};
    return QStringLiteral("%1:%2.%3").arg(info.st_ino).arg(info.st_mtim.tv_sec).arg(info.st_mtim.tv_nsec);
}

} // namespace quillvane::test
