import QtQuick
import QtQuick.Controls.impl
import Talvenne

// A bundled icon by its symbol name, drawn in one colour.
IconImage {
    property string symbol
    property real size: Theme.bodySize + 2

    source: symbol.length > 0 ? Look.iconSource(symbol) : ""
    sourceSize.width: size
    sourceSize.height: size
    width: size
    height: size
    color: Theme.primaryText
}
