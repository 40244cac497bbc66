#include "conversation_saver.h"

#include "logic/conversation_export.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

ConversationSaver::ConversationSaver(QObject* parent)
    : ControllerBoundObject(parent) {}

QUrl ConversationSaver::suggestedFile(const QString& conversationKey) const {
    const auto target = ConversationID::fromKey(conversationKey);
    if (!controller() || !target)
        return {};
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (folder.isEmpty())
        folder = QDir::homePath();
    return QUrl::fromLocalFile(QDir(folder).filePath(
        ViewLogic::conversationFileName(controller()->conversationTitle(*target))));
}

QUrl ConversationSaver::folderOf(const QUrl& file) {
    return QUrl::fromLocalFile(QFileInfo(file.toLocalFile()).absolutePath());
}

QString ConversationSaver::save(const QString& conversationKey, const QUrl& file) const {
    const auto target = ConversationID::fromKey(conversationKey);
    if (!controller() || !target)
        return qtTrId("save.conversation.none");
    if (!file.isLocalFile())
        return qtTrId("save.conversation.not.local");
    Conversation conversation = controller()->conversations().value(conversationKey);
    conversation.target = *target;
    const QByteArray bytes =
        ViewLogic::conversationText(conversation, controller()->conversationTitle(*target))
            .toUtf8();
    QSaveFile out(file.toLocalFile());
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit())
        return out.errorString();
    return {};
}
