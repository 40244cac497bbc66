#pragma once

#include "book/node_book.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

// A node book as JSON, both ways.
namespace NodeBookFile {

QByteArray encode(const NodeBook& book);

// The book the bytes hold, brought within NodeBookLimits: contacts past the
// limit, with a malformed key or a key seen before are left out, names and
// texts cut to their limit, positions out of range read as none. No value,
// and `reason` says why, when the bytes are no book at all: too large, not
// JSON, or without the radio's own key.
std::optional<NodeBook> decode(QByteArrayView json, QString& reason);

// A public key as the radio gives it: 64 lowercase hex digits.
bool isPublicKey(const QString& text);

} // namespace NodeBookFile
