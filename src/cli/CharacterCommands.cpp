// Commands that cast the project's recurring characters.

#include "cli/Command.h"
#include "pipeline/GenerationOperations.h"
#include "model/ProjectJson.h"

#include <QFileInfo>

namespace quillvane::cli {

namespace {

// Absolute paths of the image files, in the order given; every one must be a readable file
// that decodes as an image, checked before anything changes.
QStringList imagePaths(const QStringList &given)
{
    QStringList paths;
    for (const QString &path : given) {
        const QFileInfo info(path);
        if (!info.isFile() || !info.isReadable())
            throw Error(QStringLiteral("No readable image file at %1.").arg(path));
        paths.append(info.absoluteFilePath());
    }
    checkReadableImagesNow(paths);
    return paths;
}

const CharacterReference &characterNamed(const Project &project, const QString &name)
{
    for (const auto &character : project.characters) {
        if (character.name == name)
            return character;
    }
    throw Error(QStringLiteral("No character named \"%1\".").arg(name));
}

void report(const CommandContext &context, const CharacterReference &character, const QString &sentence)
{
    if (context.globals.json)
        context.out.json(toJson(character));
    else
        context.out.line(sentence);
}

QString imagesPhrase(qsizetype count)
{
    return count == 1 ? QStringLiteral("1 reference image") : QStringLiteral("%1 reference images").arg(count);
}

QCoro::Task<int> addCharacter(CommandContext context)
{
    const QString name = context.args.positional.first();
    const QStringList images = imagePaths(context.args.values(QStringLiteral("image")));

    ProjectStore &store = context.store;
    const QUuid id = *addCharacter(store.document(), name);
    if (const auto notes = context.args.value(QStringLiteral("notes"))) {
        store.editProject([&](Project &project) {
            if (CharacterReference *character = project.characterWithID(id))
                character->notes = *notes;
        });
    }
    if (!images.isEmpty())
        appendReferenceImages(store.document(), id, images);

    const CharacterReference &added = *store.project().characterWithID(id);
    report(context, added,
           QStringLiteral("Added character \"%1\" with %2.").arg(added.name, imagesPhrase(added.referenceImagePaths.size())));
    co_return 0;
}

// The stored path a --remove names: as stored, or the same file given another way.
QString storedPath(const CharacterReference &character, const QString &given)
{
    if (character.referenceImagePaths.contains(given))
        return given;
    const QString absolute = QFileInfo(given).absoluteFilePath();
    for (const QString &path : character.referenceImagePaths) {
        if (QFileInfo(path).absoluteFilePath() == absolute)
            return path;
    }
    throw Error(QStringLiteral("\"%1\" has no reference image %2.").arg(character.name, given));
}

QCoro::Task<int> addImages(CommandContext context)
{
    const QString name = context.args.positional.first();
    const CharacterReference &character = characterNamed(context.store.project(), name);
    const QUuid id = character.id;
    const QStringList images = imagePaths(context.args.positional.mid(1));
    QStringList removals;
    for (const QString &given : context.args.values(QStringLiteral("remove")))
        removals.append(storedPath(character, given));
    // Everything is checked above; only then does the project change.
    for (const QString &path : removals)
        removeReferenceImage(context.store.document(), id, path);
    if (!images.isEmpty())
        appendReferenceImages(context.store.document(), id, images);

    const CharacterReference &updated = *context.store.project().characterWithID(id);
    report(context, updated,
           QStringLiteral("\"%1\" now has %2.").arg(updated.name, imagesPhrase(updated.referenceImagePaths.size())));
    co_return 0;
}

QCoro::Task<int> removeCharacter(CommandContext context)
{
    const QString name = context.args.positional.first();
    const CharacterReference removed = characterNamed(context.store.project(), name);
    removeCharacter(context.store.document(), removed.id);
    report(context, removed, QStringLiteral("Removed character \"%1\"; its image files stay on disk.").arg(removed.name));
    co_return 0;
}

} // namespace

QList<Command> characterCommands()
{
    return {
        {QStringLiteral("character add"), QStringLiteral("NAME [--notes T] [--image PATH]..."),
         QStringLiteral("add a recurring character, with notes and reference images"),
         {{QStringLiteral("notes"), QStringLiteral("T"), QStringLiteral("consistency notes")},
          {QStringLiteral("image"), QStringLiteral("PATH"), QStringLiteral("a reference image (repeatable)"), true}},
         1, 1, addCharacter,
         [](const ParsedArgs &args) {
             if (args.positional.first().trimmed().isEmpty())
                 throw UsageError(QStringLiteral("the character name must not be blank"));
         }},
        {QStringLiteral("character images"), QStringLiteral("NAME [PATH...] [--remove PATH]..."),
         QStringLiteral("add reference images to a character, or take some away (the files stay on disk)"),
         {{QStringLiteral("remove"), QStringLiteral("PATH"), QStringLiteral("a reference image to take away (repeatable)"),
           true}},
         1, -1, addImages,
         [](const ParsedArgs &args) {
             if (args.positional.size() < 2 && args.values(QStringLiteral("remove")).isEmpty())
                 throw UsageError(QStringLiteral("give an image to add or one to --remove"));
         }},
        {QStringLiteral("character remove"), QStringLiteral("NAME"),
         QStringLiteral("remove a character from the project (its image files stay on disk)"), {}, 1, 1,
         removeCharacter},
    };
}

} // namespace quillvane::cli
