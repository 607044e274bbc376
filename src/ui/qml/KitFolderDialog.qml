import QtQuick
import QtQuick.Dialogs
import Quillvane

// A folder chooser of one kind ("export"), as KitFileDialog is for files.
FolderDialog {
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

    Component.onCompleted: accepted.connect(() => Session.choosers.remember(dialog.kind, dialog.selectedFolder))
}
