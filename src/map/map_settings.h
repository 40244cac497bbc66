#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QSettings;

// What the user chose for the maps: whether street map tiles are fetched
// from the internet (off unless turned on) and from which address. Kept in
// the application's settings; every map follows the one instance the
// controller holds.
class MapSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool streetTiles READ streetTiles WRITE setStreetTiles NOTIFY changed)
    // As the user typed it; an empty address means the default one.
    Q_PROPERTY(QString tileAddress READ tileAddress WRITE setTileAddress NOTIFY changed)
    Q_PROPERTY(bool tileAddressUsable READ tileAddressUsable NOTIFY changed)
    Q_PROPERTY(QString defaultTileAddress READ defaultTileAddress CONSTANT)

public:
    static constexpr auto streetTilesKey = "mapStreetTiles";
    static constexpr auto tileAddressKey = "mapTileAddress";

    explicit MapSettings(QSettings* settings, QObject* parent = nullptr);

    bool streetTiles() const { return m_streetTiles; }
    void setStreetTiles(bool on);
    const QString& tileAddress() const { return m_tileAddress; }
    void setTileAddress(const QString& address);
    bool tileAddressUsable() const;
    static QString defaultTileAddress();
    // Tiles are fetched only while this is true.
    bool fetchesTiles() const { return m_streetTiles && tileAddressUsable(); }

Q_SIGNALS:
    void changed();

private:
    QPointer<QSettings> m_settings;
    bool m_streetTiles = false;
    QString m_tileAddress;
};
