#pragma once

// The offline studio: the generation service's queue protocol served on 127.0.0.1 from this
// process, so the unchanged generation client plans, renders elements, paints frames and
// edits them without a network. Pictures are made by rules (StudioPainter), not by a model.
//
// A job goes IN_QUEUE, then IN_PROGRESS with a log line, then COMPLETED (or FAILED when its
// input cannot be used); its result is {"images":[{"url": ...png}]} or, for the planner, the
// plan as JSON text. A frame is painted in the shape its input's aspect_ratio names ("16:9",
// "9:16" or "1:1"; wide when it names none), 1080 on its short side. Images live in a folder
// of the studio's own under the temporary directory and go when the studio stops.
//
// It listens on loopback only and serves, by file name and never by path, only its own images
// and those in the open project's frames and elements folders, under a random token of this
// process, so another local user cannot read a project's pictures through it. An edit whose
// source an earlier process made is found by its name in those folders, or taken from the
// data URL the client sends for it.

#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

namespace quillvane::studio {

class OfflineStudio {
public:
    // Starts serving on a free port. Throws Error when no port can be had. Construct it on
    // the application's thread (it registers the lettering face there). projectFolders gives,
    // at each request, the folders of the open project whose images it may serve.
    explicit OfflineStudio(std::function<QStringList()> projectFolders = {});
    ~OfflineStudio();
    OfflineStudio(const OfflineStudio &) = delete;
    OfflineStudio &operator=(const OfflineStudio &) = delete;

    // The base URL to give the generation client ("http://127.0.0.1:PORT/api/fal").
    QUrl baseURL() const;
    // Where the studio keeps its images.
    QString folder() const;

    struct State;

private:
    std::unique_ptr<State> m_state;
};

} // namespace quillvane::studio
