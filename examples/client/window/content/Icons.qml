pragma Singleton

import QtQuick

/// Drawings for Icon, on 24 by 24 units.
QtObject {
    readonly property string play: "M8 5 L19 12 L8 19 Z"
    readonly property string file: "M6 3 H14 L19 8 V21 H6 Z M14 3 V8 H19"
    readonly property string folder: "M3 6 H9.5 L11.5 8.5 H21 V19 H3 Z"
    readonly property string picture: "M3 5 H21 V19 H3 Z M5 17 L10 11 L13.5 15 L15.5 13 L19 17"
    readonly property string video: "M3 7 H14.5 V17 H3 Z M14.5 11 L21 8 V16 L14.5 13"
    readonly property string note: "M9 18 V6 L19 4 V16 M9 18 A3 3 0 1 1 3 18 A3 3 0 1 1 9 18 "
                                   + "M19 16 A3 3 0 1 1 13 16 A3 3 0 1 1 19 16"
    readonly property string person: "M12 12 A4 4 0 1 1 12 4 A4 4 0 1 1 12 12 Z "
                                     + "M4 21 C4 11.5 20 11.5 20 21 Z"
    readonly property string pin: "M12 22 C3 12 6 3 12 3 C18 3 21 12 12 22 Z"
    readonly property string phone: "M4.5 4 H9 L11 9 L8.5 11 A12 12 0 0 0 13 15.5 L15 13 L20 15 "
                                    + "V19.5 L18.5 20.5 A15.5 15.5 0 0 1 3.5 5.5 Z"
    readonly property string gift: "M4 9 H20 V13 H4 Z M5.5 13 H18.5 V21 H5.5 Z M12 9 V21 "
                                   + "M12 9 C6 9 6 3 9 4 C11 4.5 12 9 12 9 C12 9 13 4.5 15 4 "
                                   + "C18 3 18 9 12 9"
    readonly property string check: "M5 12.5 L10 17.5 L19 7"
    readonly property string down: "M6 9 L12 15 L18 9"
    readonly property string up: "M6 15 L12 9 L18 15"
    readonly property string next: "M9 6 L15 12 L9 18"
    readonly property string hidden: "M2 12 C6 4.5 18 4.5 22 12 C18 19.5 6 19.5 2 12 Z M4 20 L20 4"
    readonly property string download: "M12 4 V15 M7 10.5 L12 15.5 L17 10.5 M5 20 H19"
}
