#include "translations.h"
#include "ui/logic/safe_text.h"
#include "ui_rig.h"

#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QQmlComponent>
#include <QQmlNetworkAccessManagerFactory>
#include <QTcpServer>
#include <QTest>
#include <QTextDocument>
#include <QtQml/qqmlextensionplugin.h>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using TestSupport::captureVoid;
using TestSupport::VoidOutcome;

namespace {

// Every URL the engine's network managers were asked for; none is fetched.
// Image loads run on a thread of their own, hence the lock.
class RecordingNetworkFactory : public QQmlNetworkAccessManagerFactory {
public:
    QNetworkAccessManager* create(QObject* parent) override { return new Manager(this, parent); }
    void clear() {
        QMutexLocker lock(&m_mutex);
        m_requests.clear();
    }
    QList<QUrl> requests() const {
        QMutexLocker lock(&m_mutex);
        return m_requests;
    }

private:
    class Manager : public QNetworkAccessManager {
    public:
        Manager(RecordingNetworkFactory* factory, QObject* parent)
            : QNetworkAccessManager(parent)
            , m_factory(factory) {}

    protected:
        QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                     QIODevice* data) override {
            {
                QMutexLocker lock(&m_factory->m_mutex);
                m_factory->m_requests.append(request.url());
            }
            // Answered at once with an error, without touching the network.
            return QNetworkAccessManager::createRequest(
                operation, QNetworkRequest(QUrl(u"unknown-scheme:refused"_s)), data);
        }

    private:
        RecordingNetworkFactory* m_factory;
    };

    mutable QMutex m_mutex;
    QList<QUrl> m_requests;
};

QString key(char digit) {
    return QString(64, QLatin1Char(digit));
}

void collectTextItems(QQuickItem* item, QList<QQuickItem*>& found) {
    if (item->inherits("QQuickText") || item->inherits("QQuickTextEdit") ||
        item->inherits("QQuickTextInput"))
        found.append(item);
    for (QQuickItem* child : item->childItems())
        collectTextItems(child, found);
}

// A character no label may show as it came: it is hidden, steers the
// direction of what follows, or breaks the line. Our own isolate pair
// around a whole text is the one exception.
bool isForbiddenInLabel(const QString& text, bool multiLine) {
    const QList<uint> codePoints = text.toUcs4();
    for (qsizetype i = 0; i < codePoints.size(); ++i) {
        const char32_t c = codePoints.at(i);
        const bool ourIsolate =
            (c == 0x2068 && i == 0) ||
            (c == 0x2069 && i == codePoints.size() - 1 && codePoints.at(0) == 0x2068);
        if (ourIsolate || (multiLine && c == u'\n') || c == 0x200C || c == 0x200D)
            continue;
        if (c < 0x20 || (c >= 0x7F && c <= 0x9F) || QChar::category(c) == QChar::Other_Format ||
            c == 0x2028 || c == 0x2029)
            return true;
    }
    return false;
}

} // namespace

// Names and texts a stranger picks go through the simulated radio into the
// whole window, and every label that shows them shows plain, isolated,
// harmless text that fetches nothing.
class TestHostileText : public QObject {
    Q_OBJECT

    QTcpServer m_listener; // where the images point; nobody may call
    QString m_imageUrl;
    RecordingNetworkFactory m_factory;
    std::unique_ptr<WindowRig> m_rig;
    QStringList m_names;
    const QString m_verifiedKey = key('a');
    const QString m_spoofKey = key('9'); // a second key under the first name

    QObject* find(const char* name) const { return m_rig->find(name); }

    // What every text item of the window shows, checked item by item.
    void checkEveryLabel(QStringList* shown) const {
        QTest::qWait(50);
        QList<QQuickItem*> items;
        collectTextItems(m_rig->window()->contentItem(), items);
        for (QQuickItem* item : std::as_const(items)) {
            const QString text = item->property("text").toString();
            const int format = item->property("textFormat").toInt();
            const bool richBubble = item->objectName() == u"messageText";
            if (richBubble) {
                // The bubble is rich text by design; everything from the
                // radio in it is escaped.
                QCOMPARE(format, int(Qt::RichText));
                QVERIFY2(!text.contains(u"<img") && !text.contains(u"<b>"), qPrintable(text));
            } else if (!item->inherits("QQuickTextInput")) {
                QVERIFY2(format == int(Qt::PlainText) || !Qt::mightBeRichText(text),
                         qPrintable(item->objectName() + u": "_s + text));
            }
            QVERIFY2(!isForbiddenInLabel(text, richBubble),
                     qPrintable(item->objectName() + u": "_s + text));
            if (item->isVisible())
                shown->append(text);
        }
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QCoro::Qml::registerTypes();
        installTranslations(*QCoreApplication::instance());
        QVERIFY(m_listener.listen(QHostAddress::LocalHost));
        m_imageUrl = u"http://127.0.0.1:%1/x.png"_s.arg(m_listener.serverPort());
    }

    void init() {
        m_factory.clear();
        m_rig = std::make_unique<WindowRig>(UiRig::demoNeighbours, &m_factory);
        const QString port = QString::number(m_listener.serverPort());
        // Each fits the radio's 32-byte name field.
        m_names = {
            u"<b>Bold</b> <i>Bob</i>"_s,
            u"<img src=http://localhost:"_s + port + u">"_s,
            u"<u>Ann</u>\u202Egnp.exe"_s,
            u"<s>Al\u200Bi\u2066ce\uFEFF</s>"_s,
            u"<b>\u0001\u001B[31m\u007F\u0085x</b>"_s,
            u"Z"_s + QString(15, QChar(0x0301)),
            u"<i>علي</i> Ali"_s,
            u"<i>שלום</i>"_s,
            QString(32, u'W'),
        };
        for (int i = 0; i < m_names.size(); ++i)
            m_rig->radio.addContact(chatContact(key(char('a' + i)), m_names.at(i)));
        m_rig->radio.addContact(chatContact(m_spoofKey, m_names.first()));
        QVERIFY(m_rig->window());
    }
    void cleanup() { m_rig.reset(); }

    // The connection screen's rows show a radio's name as plain text; the
    // detector itself: a rich text image through the same engine is seen.
    void radioRowIsPlainWhereAnImageWouldBeSeen() {
        QQmlComponent rowComponent(&m_rig->engine, QUrl(u"qrc:/qt/qml/Talvenne/DeviceRow.qml"_s));
        std::unique_ptr<QObject> row(rowComponent.createWithInitialProperties(
            {{u"name"_s, ViewLogic::safeName(u"<img src=\"%1\">\u202E"_s.arg(m_imageUrl))}}));
        QVERIFY2(row, qPrintable(rowComponent.errorString()));
        auto* name = row->findChild<QQuickItem*>(u"deviceName"_s);
        QVERIFY(name);
        QCOMPARE(name->property("textFormat").toInt(), int(Qt::PlainText));
        QTest::qWait(200);
        QCOMPARE(m_factory.requests(), QList<QUrl>());
        QVERIFY(!m_listener.hasPendingConnections());

        QQmlComponent component(&m_rig->engine);
        component.setData("import QtQuick\nText { textFormat: Text.RichText }", QUrl());
        std::unique_ptr<QObject> text(component.create());
        QVERIFY(text);
        text->setProperty("text", u"<img src=\"%1\">"_s.arg(m_imageUrl));
        QTRY_VERIFY(!m_factory.requests().isEmpty());
    }

    void hostileNamesAndTextsStayPlainAndFetchNothing() {
        QVERIFY(m_rig->connectToMainView());
        const auto now = QDateTime::currentDateTimeUtc();

        // Traffic: an image preview, a control-laden text, a very long word,
        // channel senders with markup and an override.
        const QString imageText = u"<img src=\"%1\"> hi"_s.arg(m_imageUrl);
        m_rig->radio.queueIncomingDirect(key('a'), imageText, now);
        m_rig->radio.queueIncomingDirect(key('c'), u"pay\u202E 0001\u0007\nline"_s, now);
        m_rig->radio.queueIncomingDirect(key('i'), QString(300, u'm'), now);
        m_rig->radio.queueIncomingChannel(0, u"<b>Mallory</b>: "_s + imageText, now);
        m_rig->radio.queueIncomingChannel(0, u"\u202Eyrollam\u2069: yo"_s, now);
        VoidOutcome renamed;
        captureVoid(
            m_rig->controller->setDeviceName(u"<b>Radio</b>\u202E\u200B"_s + QString(80, u'R')),
            &renamed);
        VoidOutcome joined;
        captureVoid(m_rig->controller->joinHashtagChannel(u"<i>x</i>\u202Ey"_s), &joined);
        m_rig->advance(2s);
        QVERIFY(renamed.done && !renamed.error);
        QVERIFY(joined.done && !joined.error);

        // The verified first name under another key: the conflict check
        // compares the names as received and still catches it.
        const auto original = m_rig->controller->contactForKey(m_verifiedKey);
        QVERIFY(original);
        m_rig->controller->setVerified(*original);
        const auto spoof = m_rig->controller->contactForKey(m_spoofKey);
        QVERIFY(spoof);
        QCOMPARE(m_rig->controller->conflictingVerifiedKey(*spoof), std::optional(m_verifiedKey));

        // Sidebar rows: one height, one line, left-aligned whatever the script.
        auto* list = qobject_cast<QQuickItem*>(find("conversationList"));
        QVERIFY(list);
        // The public channel, the hostile contacts and the demo's neighbours.
        QTRY_VERIFY(list->property("count").toInt() >= int(m_names.size()) + 2);
        const int rows = list->property("count").toInt();
        QList<qreal> heights;
        for (int row = 0; row < rows; ++row) {
            QMetaObject::invokeMethod(list, "positionViewAtIndex", Q_ARG(int, row),
                                      Q_ARG(int, 4 /* ListView.Contain */));
            QQuickItem* delegate = nullptr;
            QTRY_VERIFY((delegate = itemAtIndex(list, row)));
            heights << delegate->height();
            QQuickItem* title = findVisualItem(delegate, u"rowTitle"_s);
            QVERIFY(title);
            const QString text = title->property("text").toString();
            QCOMPARE(title->property("lineCount").toInt(), 1);
            QVERIFY2(title->property("effectiveHorizontalAlignment").toInt() == Qt::AlignLeft,
                     qPrintable(text));
            QVERIFY2(title->height() < delegate->height(), qPrintable(text));
        }
        QCOMPARE(heights, QList<qreal>(rows, heights.first()));

        // Open the spoofed contact's chat with its info pane, then the channel.
        QStringList shown;
        m_rig->controller->setSelectedConversation(ConversationID::contact(m_spoofKey));
        find("mainView")->setProperty("inspector", u"chatInfo"_s);
        QTRY_VERIFY(find("conflictText") && find("conflictText")->property("visible").toBool());
        QTRY_VERIFY(find("chatInfoInspector"));
        checkEveryLabel(&shown);
        for (const auto& target : {ConversationID::contact(key('a')), ConversationID::channel(0)}) {
            m_rig->controller->setSelectedConversation(target);
            checkEveryLabel(&shown);
        }
        find("mainView")->setProperty("mode", u"nodes"_s);
        find("mainView")->setProperty("nodeSelection", key('c'));
        QTRY_VERIFY(find("nodeDetailView"));
        checkEveryLabel(&shown);

        // The walk reached the labels that show radio text, each as shown safely.
        const QStringList expected{
            ViewLogic::safeName(m_names.at(0)),       // row, header, node
            ViewLogic::safeName(m_names.at(2)),       // an override
            ViewLogic::safePreview(imageText),        // the sidebar preview
            ViewLogic::safeName(u"<b>Mallory</b>"_s), // a channel sender
            ViewLogic::safeName(u"\u202Eyrollam\u2069"_s),
            qtTrId("chat.conflict.message").arg(ViewLogic::safeName(m_names.at(0))),
            ViewLogic::safeName(m_rig->controller->selfInfo()->name), // the pill
        };
        for (const QString& text : expected)
            QVERIFY2(shown.contains(text), qPrintable(text));

        // Nothing asked for the images, through the engine or around it.
        QTest::qWait(300);
        QCOMPARE(m_factory.requests(), QList<QUrl>());
        QVERIFY(!m_listener.hasPendingConnections());
        QVERIFY(!m_listener.waitForNewConnection(0));
    }
};

QTEST_MAIN(TestHostileText)
#include "test_hostile_text.moc"
