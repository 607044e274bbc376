import QtQuick
import QtQuick.Dialogs
import Quillvane

// A folder chooser of one kind ("export"), as KitFileDialog is for files.
FolderDialog {
    id: dialog
    required property string kind

    function show() {
        if (!Store.choosers.available) {
            Store.showError(Store.choosers.unavailableMessage)
            return
        }
        currentFolder = Store.choosers.folderFor(kind)
        open()
        Qt.callLater(() => Store.choosers.fitPathBar(dialog.parentWindow, Theme.inkDeep))
    }

    Component.onCompleted: accepted.connect(() => Store.choosers.remember(dialog.kind, dialog.selectedFolder))
}
