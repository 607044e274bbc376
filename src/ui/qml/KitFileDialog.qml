import QtQuick
import QtQuick.Dialogs
import Quillvane

// A file chooser of one kind ("track", "image"): starts in the folder the kind remembers (the
// user's Music or Pictures at first), remembers the folder of the chosen file, and where Qt's
// own chooser cannot load says so in the banner instead of opening.
FileDialog {
    id: dialog
    required property string kind

    function show() {
        if (!Session.choosers.available) {
            Session.showError(Session.choosers.unavailableMessage)
            return
        }
        currentFolder = Session.choosers.folderFor(kind)
        open()
        Qt.callLater(() => Session.choosers.fitPathBar(dialog.parentWindow, Theme.inkDeep))
    }

    Component.onCompleted: accepted.connect(() => Session.choosers.remember(
        dialog.kind, dialog.fileMode === FileDialog.OpenFiles ? dialog.selectedFiles[0] : dialog.selectedFile))
}
