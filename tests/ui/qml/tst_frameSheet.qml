import QtQuick
import QtTest
import Quillvane

Item {
    width: 1000
    height: 800

    FrameSheet {
        id: sheet
    }

    TestCase {
        name: "FrameSheet"
        when: windowShown

        function findNamed(item, name) {
            if (!item)
                return null
            if (item.objectName === name)
                return item
            for (let i = 0; i < item.children.length; ++i) {
                const found = findNamed(item.children[i], name)
                if (found)
                    return found
            }
            return null
        }

        function test_theSendButtonWaitsForARequest() {
            sheet.show(firstChunkID, true)
            tryCompare(sheet, "opened", true)
            const send = findNamed(sheet.contentItem, "sendButton")
            verify(send)
            compare(send.enabled, false)
            sheet.request = "   "
            compare(send.enabled, false)
            sheet.request = "fix the sign spelling"
            compare(send.enabled, true)
            compare(findNamed(sheet.contentItem, "versionLine").text, "Version 1")
            sheet.close()
        }
    }
}
