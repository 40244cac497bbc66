<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name></name>
    <message id="contact.type.unknown">
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message id="contact.type.companion">
        <source>Companion</source>
        <translation>Begleiter</translation>
    </message>
    <message id="contact.type.repeater">
        <source>Repeater</source>
        <translation>Repeater</translation>
    </message>
    <message id="contact.type.room">
        <source>Room Server</source>
        <translation>Raumserver</translation>
    </message>
    <message id="contact.type.sensor">
        <source>Sensor</source>
        <translation>Sensor</translation>
    </message>
    <message id="channel.default.name">
        <source>Channel %1</source>
        <translation>Kanal %1</translation>
    </message>
    <message id="channel.default.name.public">
        <source>Public</source>
        <translation>Öffentlich</translation>
    </message>
    <message id="main.empty.conversation.title">
        <source>No Conversation Selected</source>
        <translation>Keine Unterhaltung ausgewählt</translation>
    </message>
    <message id="main.empty.conversation.message">
        <source>Choose a channel or a contact in the sidebar to start chatting.</source>
        <translation>Wähle in der Seitenleiste einen Kanal oder einen Kontakt, um zu chatten.</translation>
    </message>
    <message id="main.empty.node.title">
        <source>No Node Selected</source>
        <translation>Kein Knoten ausgewählt</translation>
    </message>
    <message id="main.empty.node.message">
        <source>Choose a repeater, room or sensor in the sidebar to see its details.</source>
        <translation>Wähle in der Seitenleiste einen Repeater, Raum oder Sensor, um seine Details zu sehen.</translation>
    </message>
    <message id="main.toolbar.add">
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message id="main.toolbar.add.help">
        <source>Add a contact or a channel</source>
        <translation>Einen Kontakt oder einen Kanal hinzufügen</translation>
    </message>
    <message id="main.toolbar.add.contact">
        <source>Add Contact…</source>
        <translation>Kontakt hinzufügen …</translation>
    </message>
    <message id="main.toolbar.add.channel">
        <source>Add Channel…</source>
        <translation>Kanal hinzufügen …</translation>
    </message>
    <message id="main.toolbar.advertise">
        <source>Advertise</source>
        <translation>Ankündigen</translation>
    </message>
    <message id="main.toolbar.advertise.sent">
        <source>Advert Sent</source>
        <translation>Angekündigt</translation>
    </message>
    <message id="main.toolbar.advertise.help">
        <source>Announce this radio to the whole mesh</source>
        <translation>Dieses Funkgerät im ganzen Mesh ankündigen</translation>
    </message>
    <message id="main.toolbar.conversation.info">
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message id="main.toolbar.conversation.info.help">
        <source>Show details about this contact</source>
        <translation>Details zu diesem Kontakt zeigen</translation>
    </message>
    <message id="main.toolbar.device">
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message id="main.toolbar.device.help">
        <source>Show the connected radio</source>
        <translation>Das verbundene Funkgerät zeigen</translation>
    </message>
    <message id="main.connection.syncing">
        <source>Syncing…</source>
        <translation>Wird abgeglichen …</translation>
    </message>
    <message id="main.mode.messages">
        <source>Messages</source>
        <translation>Nachrichten</translation>
    </message>
    <message id="main.mode.nodes">
        <source>Nodes</source>
        <translation>Knoten</translation>
    </message>
    <message id="sidebar.search.conversations">
        <source>Search conversations</source>
        <translation>Unterhaltungen durchsuchen</translation>
    </message>
    <message id="sidebar.search.nodes">
        <source>Search nodes</source>
        <translation>Knoten durchsuchen</translation>
    </message>
    <message id="sidebar.section.channels">
        <source>Channels</source>
        <translation>Kanäle</translation>
    </message>
    <message id="sidebar.section.contacts">
        <source>Contacts</source>
        <translation>Kontakte</translation>
    </message>
    <message id="sidebar.section.favorites">
        <source>Favourites</source>
        <translation>Favoriten</translation>
    </message>
    <message id="sidebar.section.all.nodes">
        <source>All Nodes</source>
        <translation>Alle Knoten</translation>
    </message>
    <message id="sidebar.section.nodes">
        <source>Nodes</source>
        <translation>Knoten</translation>
    </message>
    <message id="sidebar.channel.group">
        <source>Group channel</source>
        <translation>Gruppenkanal</translation>
    </message>
    <message id="sidebar.row.name.and.key">
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message id="sidebar.channel.remove">
        <source>Remove Channel</source>
        <translation>Kanal entfernen</translation>
    </message>
    <message id="sidebar.favorite.add">
        <source>Add to Favourites</source>
        <translation>Zu Favoriten hinzufügen</translation>
    </message>
    <message id="sidebar.favorite.remove">
        <source>Remove from Favourites</source>
        <translation>Aus Favoriten entfernen</translation>
    </message>
    <message id="sidebar.empty.conversations.title">
        <source>No Conversations</source>
        <translation>Keine Unterhaltungen</translation>
    </message>
    <message id="sidebar.empty.conversations.message">
        <source>Contacts and channels from your radio will appear here.</source>
        <translation>Kontakte und Kanäle deines Funkgeräts erscheinen hier.</translation>
    </message>
    <message id="sidebar.empty.nodes.title">
        <source>No Nodes</source>
        <translation>Keine Knoten</translation>
    </message>
    <message id="sidebar.empty.nodes.message">
        <source>Repeaters, room servers and sensors your radio hears will appear here.</source>
        <translation>Repeater, Raumserver und Sensoren, die dein Funkgerät hört, erscheinen hier.</translation>
    </message>
    <message id="chat.subtitle.routed.typed">
        <source>%1 · flood routed</source>
        <translation>%1 · per Flutung</translation>
    </message>
    <message id="chat.subtitle.direct.typed">
        <source>%1 · direct route</source>
        <translation>%1 · direkte Route</translation>
    </message>
    <message id="chat.subtitle.direct">
        <source>Direct message</source>
        <translation>Direktnachricht</translation>
    </message>
    <message id="chat.subtitle.channel">
        <source>Channel</source>
        <translation>Kanal</translation>
    </message>
    <message id="chat.verify.verified.help">
        <source>You have verified this contact's key</source>
        <translation>Du hast den Schlüssel dieses Kontakts bestätigt</translation>
    </message>
    <message id="chat.verify.unverified.help">
        <source>This contact's key is not verified</source>
        <translation>Der Schlüssel dieses Kontakts ist nicht bestätigt</translation>
    </message>
    <message id="chat.verify.remove">
        <source>Remove Verification</source>
        <translation>Bestätigung entfernen</translation>
    </message>
    <message id="chat.verify.mark">
        <source>Mark as Verified</source>
        <translation>Als bestätigt markieren</translation>
    </message>
    <message id="chat.conflict.message">
        <source>Another verified contact is named “%1”. This key may belong to someone else.</source>
        <translation>Ein anderer bestätigter Kontakt heißt „%1“. Dieser Schlüssel gehört vielleicht jemand anderem.</translation>
    </message>
    <message id="chat.conflict.verify.anyway">
        <source>Verify Anyway</source>
        <translation>Trotzdem bestätigen</translation>
    </message>
    <message id="chat.empty.title">
        <source>No Messages Yet</source>
        <translation>Noch keine Nachrichten</translation>
    </message>
    <message id="chat.empty.message">
        <source>Messages you send and receive here will appear in this conversation.</source>
        <translation>Nachrichten, die du hier sendest und empfängst, erscheinen in dieser Unterhaltung.</translation>
    </message>
    <message id="chat.composer.placeholder">
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message id="chat.composer.limit">
        <source>Up to %1 characters</source>
        <translation>Bis zu %1 Zeichen</translation>
    </message>
    <message id="chat.message.delivery.show.report">
        <source>Show delivery report</source>
        <translation>Zustellbericht zeigen</translation>
    </message>
    <message id="chat.message.copy.text">
        <source>Copy text</source>
        <translation>Text kopieren</translation>
    </message>
    <message id="chat.message.send.again">
        <source>Send again</source>
        <translation>Erneut senden</translation>
    </message>
    <message id="chat.message.failed.options">
        <source>Not sent: options</source>
        <translation>Nicht gesendet: Optionen</translation>
    </message>
    <message id="main.connection.reconnecting">
        <source>Reconnecting…</source>
        <translation>Verbinde neu…</translation>
    </message>
    <message id="chat.composer.reconnecting">
        <source>Reconnecting to %1… Messages can be sent once it is back.</source>
        <translation>Verbindung zu %1 wird wiederhergestellt… Nachrichten können gesendet werden, sobald es wieder da ist.</translation>
    </message>
    <message id="chat.composer.not.connected">
        <source>Not connected to a radio.</source>
        <translation>Mit keinem Funkgerät verbunden.</translation>
    </message>
    <message id="main.connection.away">
        <source>Radio away</source>
        <translation>Funkgerät abwesend</translation>
    </message>
    <message id="chat.composer.radio.away">
        <source>Your radio is away. Messages can be sent once it is connected again.</source>
        <translation>Dein Funkgerät ist nicht erreichbar. Nachrichten können gesendet werden, sobald es wieder verbunden ist.</translation>
    </message>
    <message id="main.radio.needed.reconnecting">
        <source>Needs the radio: reconnecting to %1…</source>
        <translation>Braucht das Funkgerät: Verbindung zu %1 wird wiederhergestellt…</translation>
    </message>
    <message id="main.radio.needed.away">
        <source>Needs the radio, which is away.</source>
        <translation>Braucht das Funkgerät, das nicht erreichbar ist.</translation>
    </message>
    <message id="menu.file.connect.another">
        <source>Connect to Another Radio…</source>
        <translation>Mit anderem Funkgerät verbinden…</translation>
    </message>
    <message id="menu.file.forget.radio">
        <source>Forget This Radio…</source>
        <translation>Dieses Funkgerät vergessen…</translation>
    </message>
    <message id="forget.radio.title">
        <source>Forget %1?</source>
        <translation>%1 vergessen?</translation>
    </message>
    <message id="forget.radio.text">
        <source>The list of nodes and channels this computer keeps for the radio is deleted, and Talvenne stops reconnecting to it. Your conversations stay, and so does the radio's Bluetooth pairing.</source>
        <translation>Die Liste der Knoten und Kanäle, die dieser Computer für das Funkgerät aufbewahrt, wird gelöscht, und Talvenne verbindet sich nicht mehr von selbst damit. Deine Unterhaltungen bleiben, ebenso die Bluetooth-Kopplung des Funkgeräts.</translation>
    </message>
    <message id="forget.radio.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="forget.radio.confirm">
        <source>Forget</source>
        <translation>Vergessen</translation>
    </message>
    <message id="node.book.failed">
        <source>The radio's list of nodes could not be kept: %1 The history is not affected.</source>
        <translation>Die Knotenliste des Funkgeräts konnte nicht aufbewahrt werden: %1 Der Verlauf ist nicht betroffen.</translation>
    </message>
    <message id="menu.file.reconnect.automatically">
        <source>Reconnect automatically</source>
        <translation>Automatisch neu verbinden</translation>
    </message>
    <message id="menu.view.search.messages">
        <source>Search Messages…</source>
        <translation>Nachrichten durchsuchen…</translation>
    </message>
    <message id="search.history.prompt">
        <source>Search all messages</source>
        <translation>Alle Nachrichten durchsuchen</translation>
    </message>
    <message id="search.history.results">
        <source>Matching messages</source>
        <translation>Passende Nachrichten</translation>
    </message>
    <message id="search.history.empty">
        <source>No messages match “%1”</source>
        <translation>Keine Nachricht passt zu „%1“</translation>
    </message>
    <message id="search.history.searching">
        <source>Searching older messages…</source>
        <translation>Ältere Nachrichten werden durchsucht …</translation>
    </message>
    <message id="search.history.sender.you">
        <source>You</source>
        <translation>Du</translation>
    </message>
    <message id="search.history.result.spoken">
        <source>%1, %2: %3</source>
        <translation>%1, %2: %3</translation>
    </message>
    <message id="chat.message.delivery.sending">
        <source>Sending…</source>
        <translation>Wird gesendet …</translation>
    </message>
    <message id="chat.message.delivery.sent">
        <source>Sent, waiting for confirmation</source>
        <translation>Gesendet, warte auf Bestätigung</translation>
    </message>
    <message id="chat.message.delivery.delivered">
        <source>Delivered</source>
        <translation>Zugestellt</translation>
    </message>
    <message id="chat.message.delivery.failed">
        <source>Failed to send</source>
        <translation>Senden fehlgeschlagen</translation>
    </message>
    <message id="chat.message.delivery.direct">
        <source>Direct, no hops</source>
        <translation>Direkt, ohne Sprünge</translation>
    </message>
    <message id="chat.message.delivery.relayed">
        <source>Relayed over %1 hop</source>
        <translation>Über %1 Sprung weitergeleitet</translation>
    </message>
    <message id="chat.message.delivery.relayed.plural">
        <source>Relayed over %1 hops</source>
        <translation>Über %1 Sprünge weitergeleitet</translation>
    </message>
    <message id="chat.message.delivery.roundtrip">
        <source>Round trip %1 s</source>
        <translation>Umlaufzeit %1 s</translation>
    </message>
    <message id="chat.message.delivery.snr">
        <source>Signal-to-noise %1 dB</source>
        <translation>Signal-Rausch-Abstand %1 dB</translation>
    </message>
    <message id="chat.message.delivery.timeout">
        <source>Expected within %1 s</source>
        <translation>Erwartet innerhalb von %1 s</translation>
    </message>
    <message id="chat.message.delivery.unconfirmed">
        <source>Not confirmed within %1 s</source>
        <translation>Nicht innerhalb von %1 s bestätigt</translation>
    </message>
    <message id="connection.title">
        <source>Talvenne</source>
        <translation>Talvenne</translation>
    </message>
    <message id="connection.subtitle">
        <source>Connect to your mesh radio over Bluetooth</source>
        <translation>Verbinde dich per Bluetooth mit deinem Mesh-Funkgerät</translation>
    </message>
    <message id="connection.nearby.devices">
        <source>Nearby Radios</source>
        <translation>Funkgeräte in der Nähe</translation>
    </message>
    <message id="connection.empty.powered.off">
        <source>Bluetooth is turned off.</source>
        <translation>Bluetooth ist ausgeschaltet.</translation>
    </message>
    <message id="connection.empty.unauthorized">
        <source>Talvenne is not allowed to use Bluetooth.</source>
        <translation>Talvenne darf Bluetooth nicht verwenden.</translation>
    </message>
    <message id="connection.empty.scanning">
        <source>Looking for radios…</source>
        <translation>Suche nach Funkgeräten …</translation>
    </message>
    <message id="connection.empty.connecting">
        <source>Connecting…</source>
        <translation>Verbinde …</translation>
    </message>
    <message id="connection.empty.preparing">
        <source>Getting Bluetooth ready…</source>
        <translation>Bluetooth wird vorbereitet …</translation>
    </message>
    <message id="connection.empty.none.found">
        <source>No radio found nearby</source>
        <translation>Kein Funkgerät in der Nähe gefunden</translation>
    </message>
    <message id="connection.button.scan">
        <source>Scan</source>
        <translation>Suchen</translation>
    </message>
    <message id="connection.button.scan.again">
        <source>Scan Again</source>
        <translation>Erneut suchen</translation>
    </message>
    <message id="connection.button.stop">
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message id="connection.bluetooth.no.service">
        <source>The Bluetooth service is not running</source>
        <translation>Der Bluetooth-Dienst läuft nicht</translation>
    </message>
    <message id="connection.bluetooth.no.service.detail">
        <source>Talvenne reaches radios through the system's Bluetooth service (BlueZ). Start it, for example with “systemctl start bluetooth”; Talvenne notices when it is running.</source>
        <translation>Talvenne erreicht Funkgeräte über den Bluetooth-Dienst des Systems (BlueZ). Starte ihn, zum Beispiel mit „systemctl start bluetooth“; Talvenne bemerkt, sobald er läuft.</translation>
    </message>
    <message id="connection.bluetooth.no.adapter">
        <source>No Bluetooth adapter</source>
        <translation>Kein Bluetooth-Adapter</translation>
    </message>
    <message id="connection.bluetooth.no.adapter.detail">
        <source>The Bluetooth service has no adapter to use. Plug one in, or unblock it if it is switched off with a radio switch or rfkill.</source>
        <translation>Der Bluetooth-Dienst hat keinen Adapter. Schließ einen an oder gib ihn frei, falls er mit einem Funkschalter oder rfkill gesperrt ist.</translation>
    </message>
    <message id="connection.bluetooth.off">
        <source>Bluetooth is off</source>
        <translation>Bluetooth ist aus</translation>
    </message>
    <message id="connection.bluetooth.off.detail">
        <source>Turn Bluetooth on to find radios nearby.</source>
        <translation>Schalte Bluetooth ein, um Funkgeräte in der Nähe zu finden.</translation>
    </message>
    <message id="connection.bluetooth.off.detail.settings">
        <source>The system did not let Talvenne turn it on. Turn Bluetooth on in the system settings to find radios nearby.</source>
        <translation>Das System hat Talvenne nicht erlaubt, Bluetooth einzuschalten. Schalte es in den Systemeinstellungen ein, um Funkgeräte in der Nähe zu finden.</translation>
    </message>
    <message id="connection.bluetooth.not.permitted">
        <source>Talvenne may not use Bluetooth</source>
        <translation>Talvenne darf Bluetooth nicht verwenden</translation>
    </message>
    <message id="connection.bluetooth.not.permitted.detail">
        <source>The system does not let this user talk to the Bluetooth service. Ask the administrator to allow it, for example by adding you to the “bluetooth” group.</source>
        <translation>Das System erlaubt diesem Benutzer keinen Zugriff auf den Bluetooth-Dienst. Bitte die Verwaltung, ihn zu erlauben, zum Beispiel indem sie dich in die Gruppe „bluetooth“ aufnimmt.</translation>
    </message>
    <message id="connection.bluetooth.power.on">
        <source>Turn Bluetooth On</source>
        <translation>Bluetooth einschalten</translation>
    </message>
    <message id="add.contact.title">
        <source>Add Contact</source>
        <translation>Kontakt hinzufügen</translation>
    </message>
    <message id="add.contact.subtitle">
        <source>Add a node by its name and public key.</source>
        <translation>Füge einen Knoten mit Namen und öffentlichem Schlüssel hinzu.</translation>
    </message>
    <message id="add.contact.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="add.contact.field.name.placeholder">
        <source>Contact name</source>
        <translation>Name des Kontakts</translation>
    </message>
    <message id="add.contact.field.public.key">
        <source>Public Key</source>
        <translation>Öffentlicher Schlüssel</translation>
    </message>
    <message id="add.contact.field.public.key.placeholder">
        <source>64 hexadecimal digits</source>
        <translation>64 Hexadezimalziffern</translation>
    </message>
    <message id="add.contact.button.add">
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message id="add.contact.button.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="add.channel.title">
        <source>Add Channel</source>
        <translation>Kanal hinzufügen</translation>
    </message>
    <message id="add.channel.subtitle">
        <source>Create a channel or join an existing one.</source>
        <translation>Erstelle einen Kanal oder tritt einem bestehenden bei.</translation>
    </message>
    <message id="add.channel.type">
        <source>Type</source>
        <translation>Art</translation>
    </message>
    <message id="add.channel.mode.create.private">
        <source>Create Private</source>
        <translation>Privat erstellen</translation>
    </message>
    <message id="add.channel.mode.join.private">
        <source>Join Private</source>
        <translation>Privat beitreten</translation>
    </message>
    <message id="add.channel.mode.join.public">
        <source>Join Public</source>
        <translation>Öffentlich beitreten</translation>
    </message>
    <message id="add.channel.mode.join.hashtag">
        <source>Join Hashtag</source>
        <translation>Hashtag beitreten</translation>
    </message>
    <message id="add.channel.button.create">
        <source>Create</source>
        <translation>Erstellen</translation>
    </message>
    <message id="add.channel.button.join">
        <source>Join</source>
        <translation>Beitreten</translation>
    </message>
    <message id="add.channel.button.done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="add.channel.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="add.channel.field.name.placeholder">
        <source>Channel name</source>
        <translation>Name des Kanals</translation>
    </message>
    <message id="add.channel.field.key">
        <source>Secret Key</source>
        <translation>Geheimer Schlüssel</translation>
    </message>
    <message id="add.channel.field.key.placeholder">
        <source>32 hexadecimal digits</source>
        <translation>32 Hexadezimalziffern</translation>
    </message>
    <message id="add.channel.field.hashtag">
        <source>Hashtag</source>
        <translation>Hashtag</translation>
    </message>
    <message id="add.channel.field.hashtag.placeholder">
        <source>#channel</source>
        <translation>#kanal</translation>
    </message>
    <message id="add.channel.create.message">
        <source>A new random secret is created for this channel. Share it with the people who should join.</source>
        <translation>Für diesen Kanal wird ein neues zufälliges Geheimnis erzeugt. Teile es mit allen, die beitreten sollen.</translation>
    </message>
    <message id="add.channel.join.public.message">
        <source>Joins the public channel that every radio can read.</source>
        <translation>Tritt dem öffentlichen Kanal bei, den jedes Funkgerät lesen kann.</translation>
    </message>
    <message id="add.channel.join.hashtag.message">
        <source>Everyone who joins the same hashtag shares this channel; its secret comes from the name.</source>
        <translation>Wer demselben Hashtag beitritt, teilt diesen Kanal; sein Geheimnis ergibt sich aus dem Namen.</translation>
    </message>
    <message id="add.channel.share.title">
        <source>Share This Secret</source>
        <translation>Dieses Geheimnis teilen</translation>
    </message>
    <message id="add.channel.copy.help">
        <source>Copy the secret</source>
        <translation>Das Geheimnis kopieren</translation>
    </message>
    <message id="add.contact.exists">
        <source>%1 is already a contact.</source>
        <translation>%1 ist schon ein Kontakt.</translation>
    </message>
    <message id="add.channel.exists">
        <source>You have already joined %1.</source>
        <translation>Du bist %1 schon beigetreten.</translation>
    </message>
    <message id="add.button.open">
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message id="%lld/64">
        <source>%1/64</source>
        <translation>%1/64</translation>
    </message>
    <message id="%lld/32">
        <source>%1/32</source>
        <translation>%1/32</translation>
    </message>
    <message id="device.title">
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message id="device.loading">
        <source>Loading…</source>
        <translation>Wird geladen …</translation>
    </message>
    <message id="device.section.identity">
        <source>Identity</source>
        <translation>Identität</translation>
    </message>
    <message id="device.section.radio">
        <source>Radio</source>
        <translation>Funk</translation>
    </message>
    <message id="device.section.statistics">
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message id="device.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="device.field.name.placeholder">
        <source>Radio name</source>
        <translation>Name des Funkgeräts</translation>
    </message>
    <message id="device.field.type">
        <source>Type</source>
        <translation>Art</translation>
    </message>
    <message id="device.field.public.key">
        <source>Public Key</source>
        <translation>Öffentlicher Schlüssel</translation>
    </message>
    <message id="device.field.model">
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message id="device.field.firmware">
        <source>Firmware</source>
        <translation>Firmware</translation>
    </message>
    <message id="device.field.battery">
        <source>Battery</source>
        <translation>Akku</translation>
    </message>
    <message id="device.field.frequency">
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message id="device.field.bandwidth">
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message id="device.field.spreading.factor">
        <source>Spreading Factor</source>
        <translation>Spreizfaktor</translation>
    </message>
    <message id="device.field.coding.rate">
        <source>Coding Rate</source>
        <translation>Coderate</translation>
    </message>
    <message id="device.field.tx.power">
        <source>Transmit Power</source>
        <translation>Sendeleistung</translation>
    </message>
    <message id="device.field.last.rssi">
        <source>Last RSSI</source>
        <translation>Letzter RSSI</translation>
    </message>
    <message id="device.field.last.snr">
        <source>Last SNR</source>
        <translation>Letzter SNR</translation>
    </message>
    <message id="device.field.noise.floor">
        <source>Noise Floor</source>
        <translation>Grundrauschen</translation>
    </message>
    <message id="device.field.packets.sent">
        <source>Packets Sent</source>
        <translation>Gesendete Pakete</translation>
    </message>
    <message id="device.field.packets.received">
        <source>Packets Received</source>
        <translation>Empfangene Pakete</translation>
    </message>
    <message id="device.field.uptime">
        <source>Uptime</source>
        <translation>Laufzeit</translation>
    </message>
    <message id="device.button.save">
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message id="device.button.advertise.zero">
        <source>Advertise to Neighbours</source>
        <translation>Den Nachbarn ankündigen</translation>
    </message>
    <message id="device.button.advertise.zero.sent">
        <source>Sent to Neighbours</source>
        <translation>An Nachbarn gesendet</translation>
    </message>
    <message id="device.button.advertise.flood">
        <source>Advertise to Mesh</source>
        <translation>Im Mesh ankündigen</translation>
    </message>
    <message id="device.button.advertise.flood.sent">
        <source>Sent to Mesh</source>
        <translation>Ans Mesh gesendet</translation>
    </message>
    <message id="device.button.reboot">
        <source>Reboot</source>
        <translation>Neu starten</translation>
    </message>
    <message id="device.button.disconnect">
        <source>Disconnect</source>
        <translation>Trennen</translation>
    </message>
    <message id="device.reboot.title">
        <source>Reboot the radio?</source>
        <translation>Funkgerät neu starten?</translation>
    </message>
    <message id="device.reboot.message">
        <source>The radio restarts and the connection is lost until it is back.</source>
        <translation>Das Funkgerät startet neu; die Verbindung ist getrennt, bis es wieder bereit ist.</translation>
    </message>
    <message id="device.reboot.confirm">
        <source>Reboot</source>
        <translation>Neu starten</translation>
    </message>
    <message id="device.reboot.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="%lld dBm">
        <source>%1 dBm</source>
        <translation>%1 dBm</translation>
    </message>
    <message id="node.detail.unnamed">
        <source>Unnamed Node</source>
        <translation>Unbenannter Knoten</translation>
    </message>
    <message id="node.detail.marker.node">
        <source>Node</source>
        <translation>Knoten</translation>
    </message>
    <message id="node.detail.routing">
        <source>Routing</source>
        <translation>Routing</translation>
    </message>
    <message id="node.detail.routing.flood">
        <source>Flood</source>
        <translation>Flutung</translation>
    </message>
    <message id="node.detail.routing.direct">
        <source>Direct</source>
        <translation>Direkt</translation>
    </message>
    <message id="node.detail.path.length">
        <source>Path Length</source>
        <translation>Pfadlänge</translation>
    </message>
    <message id="node.detail.path.length.value">
        <source>%1 hop</source>
        <translation>%1 Sprung</translation>
    </message>
    <message id="node.detail.path.length.value.plural">
        <source>%1 hops</source>
        <translation>%1 Sprünge</translation>
    </message>
    <message id="node.detail.last.seen">
        <source>Last Seen</source>
        <translation>Zuletzt gesehen</translation>
    </message>
    <message id="node.detail.button.message">
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message id="node.detail.button.reset.path">
        <source>Reset Path</source>
        <translation>Pfad zurücksetzen</translation>
    </message>
    <message id="node.detail.button.share">
        <source>Share</source>
        <translation>Teilen</translation>
    </message>
    <message id="node.detail.button.favorite.add">
        <source>Add to Favourites</source>
        <translation>Zu Favoriten hinzufügen</translation>
    </message>
    <message id="node.detail.button.favorite.remove">
        <source>Remove from Favourites</source>
        <translation>Aus Favoriten entfernen</translation>
    </message>
    <message id="node.detail.button.remove">
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message id="Public key">
        <source>Public key</source>
        <translation>Öffentlicher Schlüssel</translation>
    </message>
    <message id="inspector.chat.info.unnamed">
        <source>Unnamed Contact</source>
        <translation>Unbenannter Kontakt</translation>
    </message>
    <message id="inspector.chat.info.verified">
        <source>Verified</source>
        <translation>Bestätigt</translation>
    </message>
    <message id="inspector.chat.info.verified.message">
        <source>You have confirmed that this key belongs to this contact.</source>
        <translation>Du hast bestätigt, dass dieser Schlüssel zu diesem Kontakt gehört.</translation>
    </message>
    <message id="inspector.chat.info.mismatch">
        <source>Key Mismatch</source>
        <translation>Schlüssel passt nicht</translation>
    </message>
    <message id="inspector.chat.info.mismatch.message">
        <source>A different key is verified under this name. Check with the contact before trusting it.</source>
        <translation>Unter diesem Namen ist ein anderer Schlüssel bestätigt. Frag beim Kontakt nach, bevor du ihm vertraust.</translation>
    </message>
    <message id="inspector.chat.info.not.verified">
        <source>Not Verified</source>
        <translation>Nicht bestätigt</translation>
    </message>
    <message id="inspector.chat.info.not.verified.message">
        <source>Compare the key with the contact in person, then mark it as verified.</source>
        <translation>Vergleiche den Schlüssel persönlich mit dem Kontakt und markiere ihn dann als bestätigt.</translation>
    </message>
    <message id="inspector.chat.info.verify">
        <source>Verify</source>
        <translation>Bestätigen</translation>
    </message>
    <message id="inspector.chat.info.unverify">
        <source>Remove Verification</source>
        <translation>Bestätigung entfernen</translation>
    </message>
    <message id="node.detail.map.open">
        <source>Open in OpenStreetMap</source>
        <translation>In OpenStreetMap öffnen</translation>
    </message>
    <message id="map.title">
        <source>Map</source>
        <translation>Karte</translation>
    </message>
    <message id="menu.view.map">
        <source>Map</source>
        <translation>Karte</translation>
    </message>
    <message id="main.toolbar.map">
        <source>Map</source>
        <translation>Karte</translation>
    </message>
    <message id="main.toolbar.map.help">
        <source>Show every node with a position on a map</source>
        <translation>Alle Knoten mit Position auf einer Karte zeigen</translation>
    </message>
    <message id="map.accessible.name">
        <source>Map of the mesh</source>
        <translation>Karte des Netzes</translation>
    </message>
    <message id="map.node.accessible.name">
        <source>Map of the node's position</source>
        <translation>Karte mit der Position des Knotens</translation>
    </message>
    <message id="map.accessible.help">
        <source>Arrow keys move the map, plus and minus zoom, Tab walks the nodes</source>
        <translation>Pfeiltasten verschieben die Karte, Plus und Minus zoomen, Tab geht die Knoten durch</translation>
    </message>
    <message id="map.outline.only">
        <source>Outline only</source>
        <translation>Nur Umrisse</translation>
    </message>
    <message id="map.outline.only.help">
        <source>The built-in map has only coastlines and borders at this scale. Street maps can be turned on in the map's settings.</source>
        <translation>Die eingebaute Karte kennt in diesem Maßstab nur Küsten und Grenzen. Straßenkarten lassen sich in den Karteneinstellungen einschalten.</translation>
    </message>
    <message id="map.zoom.in">
        <source>Zoom In</source>
        <translation>Vergrößern</translation>
    </message>
    <message id="map.zoom.out">
        <source>Zoom Out</source>
        <translation>Verkleinern</translation>
    </message>
    <message id="map.fit">
        <source>Show All Nodes</source>
        <translation>Alle Knoten zeigen</translation>
    </message>
    <message id="map.empty">
        <source>No node has shared its position yet</source>
        <translation>Noch kein Knoten hat seine Position geteilt</translation>
    </message>
    <message id="map.count" numerus="yes">
        <source>%n nodes with a position</source>
        <translation>
            <numerusform>%n Knoten mit Position</numerusform>
            <numerusform>%n Knoten mit Position</numerusform>
        </translation>
    </message>
    <message id="map.settings">
        <source>Map Settings</source>
        <translation>Karteneinstellungen</translation>
    </message>
    <message id="map.tiles.switch">
        <source>Street maps from the internet</source>
        <translation>Straßenkarten aus dem Internet</translation>
    </message>
    <message id="map.tiles.off.note">
        <source>Off: Talvenne fetches nothing and draws the map from the outline it brings along.</source>
        <translation>Aus: Talvenne lädt nichts und zeichnet die Karte aus den mitgebrachten Umrissen.</translation>
    </message>
    <message id="map.tiles.on.note">
        <source>On: the tiles of what the map shows are fetched from the address below and kept in the cache folder.</source>
        <translation>An: Die Kacheln des gezeigten Ausschnitts werden von der Adresse unten geladen und im Cache-Ordner aufbewahrt.</translation>
    </message>
    <message id="map.tiles.address">
        <source>Tile address</source>
        <translation>Kachel-Adresse</translation>
    </message>
    <message id="map.tiles.address.invalid">
        <source>Use an http or https address with {z}, {x} and {y}</source>
        <translation>Eine http- oder https-Adresse mit {z}, {x} und {y} angeben</translation>
    </message>
    <message id="map.tiles.address.reset">
        <source>Use OpenStreetMap</source>
        <translation>OpenStreetMap verwenden</translation>
    </message>
    <message id="map.attribution.open">
        <source>Open the map data's copyright notice</source>
        <translation>Urheberrechtshinweis der Kartendaten öffnen</translation>
    </message>
    <message id="map.distance.metres">
        <source>%1 m</source>
        <translation>%1 m</translation>
    </message>
    <message id="map.distance.kilometres">
        <source>%1 km</source>
        <translation>%1 km</translation>
    </message>
    <message id="map.distance.bearing">
        <source>%1 %2</source>
        <translation>%1 %2</translation>
    </message>
    <message id="map.compass.n">
        <source>N</source>
        <translation>N</translation>
    </message>
    <message id="map.compass.ne">
        <source>NE</source>
        <translation>NO</translation>
    </message>
    <message id="map.compass.e">
        <source>E</source>
        <translation>O</translation>
    </message>
    <message id="map.compass.se">
        <source>SE</source>
        <translation>SO</translation>
    </message>
    <message id="map.compass.s">
        <source>S</source>
        <translation>S</translation>
    </message>
    <message id="map.compass.sw">
        <source>SW</source>
        <translation>SW</translation>
    </message>
    <message id="map.compass.w">
        <source>W</source>
        <translation>W</translation>
    </message>
    <message id="map.compass.nw">
        <source>NW</source>
        <translation>NW</translation>
    </message>
    <message id="map.marker.spoken">
        <source>%1, %2</source>
        <translation>%1, %2</translation>
    </message>
    <message id="map.marker.spoken.distance">
        <source>%1, %2, %3</source>
        <translation>%1, %2, %3</translation>
    </message>
    <message id="map.marker.self">
        <source>%1 (your radio)</source>
        <translation>%1 (dein Funkgerät)</translation>
    </message>
    <message id="map.marker.self.spoken">
        <source>%1, your radio, %2</source>
        <translation>%1, dein Funkgerät, %2</translation>
    </message>
    <message id="map.marker.group" numerus="yes">
        <source>%n nodes</source>
        <translation>
            <numerusform>%n Knoten</numerusform>
            <numerusform>%n Knoten</numerusform>
        </translation>
    </message>
    <message id="map.marker.group.spoken" numerus="yes">
        <source>%n nodes: %1</source>
        <translation>
            <numerusform>%n Knoten: %1</numerusform>
            <numerusform>%n Knoten: %1</numerusform>
        </translation>
    </message>
    <message id="node.detail.distance">
        <source>From your radio</source>
        <translation>Von deinem Funkgerät</translation>
    </message>
    <message id="history.save.failed">
        <source>History could not be saved: %1</source>
        <translation>Verlauf konnte nicht gespeichert werden: %1</translation>
    </message>
    <message id="history.loading">
        <source>Loading messages…</source>
        <translation>Nachrichten werden geladen …</translation>
    </message>
    <message id="history.error.locked">
        <source>Talvenne is already running (process %1) and keeps it</source>
        <translation>Talvenne läuft bereits (Prozess %1) und verwaltet ihn</translation>
    </message>
    <message id="chat.composer.history.loading">
        <source>Your messages are being loaded. Messages can be sent once they are in.</source>
        <translation>Deine Nachrichten werden geladen. Nachrichten können gesendet werden, sobald sie da sind.</translation>
    </message>
    <message id="chat.composer.history.held">
        <source>Another Talvenne keeps your history. Messages can be sent once it has quit.</source>
        <translation>Ein anderes Talvenne verwaltet deinen Verlauf. Nachrichten können gesendet werden, sobald es beendet ist.</translation>
    </message>
    <message id="history.quit.title">
        <source>Quit without saving?</source>
        <translation>Beenden, ohne zu speichern?</translation>
    </message>
    <message id="history.quit.message">
        <source>History could not be saved: %1. Changes since the last save may be lost if you quit now.</source>
        <translation>Verlauf konnte nicht gespeichert werden: %1. Änderungen seit dem letzten Speichern gehen möglicherweise verloren, wenn du jetzt beendest.</translation>
    </message>
    <message id="history.quit.save">
        <source>Save Again</source>
        <translation>Erneut speichern</translation>
    </message>
    <message id="history.quit.anyway">
        <source>Quit Anyway</source>
        <translation>Trotzdem beenden</translation>
    </message>
    <message id="history.quit.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="notification.body.count" numerus="yes">
        <source>%n new messages</source>
        <translation>
            <numerusform>%n neue Nachricht</numerusform>
            <numerusform>%n neue Nachrichten</numerusform>
        </translation>
    </message>
    <message id="notification.action.open">
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message id="time.relative.now">
        <source>now</source>
        <translation>jetzt</translation>
    </message>
    <message id="time.relative.minutes">
        <source>%1m</source>
        <translation>%1 Min.</translation>
    </message>
    <message id="time.relative.hours">
        <source>%1h</source>
        <translation>%1 Std.</translation>
    </message>
    <message id="date.format.day.month">
        <source>d MMM</source>
        <translation>d. MMM</translation>
    </message>
    <message id="date.format.day.month.year">
        <source>d MMM yyyy</source>
        <translation>d. MMM yyyy</translation>
    </message>
    <message id="Disconnect">
        <source>Disconnect</source>
        <translation>Trennen</translation>
    </message>
    <message id="menu.file">
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message id="menu.file.quit">
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message id="menu.view">
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message id="menu.view.find">
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message id="menu.view.conversation.info">
        <source>Conversation Info</source>
        <translation>Unterhaltungsinfo</translation>
    </message>
    <message id="menu.view.device">
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message id="menu.help">
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message id="menu.help.about">
        <source>About Talvenne</source>
        <translation>Über Talvenne</translation>
    </message>
    <message id="about.version">
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message id="about.description">
        <source>A chat client for LoRa mesh radios: your contacts, channels and the radio itself, over Bluetooth.</source>
        <translation>Ein Chat-Programm für LoRa-Mesh-Funkgeräte: deine Kontakte, Kanäle und das Funkgerät selbst, über Bluetooth.</translation>
    </message>
    <message id="about.close">
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message id="main.mode.picker">
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
    <message id="chat.composer.send">
        <source>Send</source>
        <translation>Senden</translation>
    </message>
    <message id="chat.verify.name">
        <source>Key verification</source>
        <translation>Schlüsselprüfung</translation>
    </message>
    <message id="device.button.edit.name">
        <source>Edit name</source>
        <translation>Namen bearbeiten</translation>
    </message>
    <message id="device.button.refresh">
        <source>Refresh statistics</source>
        <translation>Statistik aktualisieren</translation>
    </message>
    <message id="device.statistics.empty">
        <source>The radio has not sent its statistics yet.</source>
        <translation>Das Funkgerät hat seine Statistik noch nicht gesendet.</translation>
    </message>
    <message id="spoken.favorite">
        <source>Favourite</source>
        <translation>Favorit</translation>
    </message>
    <message id="spoken.unread">
        <source>%1 unread</source>
        <translation>%1 ungelesen</translation>
    </message>
    <message id="spoken.routing">
        <source>%1 routing</source>
        <translation>Routing: %1</translation>
    </message>
    <message id="spoken.has.position">
        <source>Has a position</source>
        <translation>Hat eine Position</translation>
    </message>
    <message id="spoken.you">
        <source>You</source>
        <translation>Du</translation>
    </message>
    <message id="connection.device.known">
        <source>Known</source>
        <translation>Bekannt</translation>
    </message>
    <message id="connection.device.known.spoken">
        <source>Known to this computer</source>
        <translation>Diesem Computer bekannt</translation>
    </message>
    <message id="connection.device.not.heard">
        <source>No signal yet</source>
        <translation>Noch kein Signal</translation>
    </message>
    <message id="connection.device.current">
        <source>Connected now</source>
        <translation>Jetzt verbunden</translation>
    </message>
    <message id="connection.button.retry">
        <source>Try again</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message id="connection.button.forget">
        <source>Forget this radio in Bluetooth…</source>
        <translation>Funkgerät in Bluetooth vergessen …</translation>
    </message>
    <message id="device.button.forget">
        <source>Forget this radio in Bluetooth…</source>
        <translation>Funkgerät in Bluetooth vergessen …</translation>
    </message>
    <message id="forget.title">
        <source>Forget “%1” in Bluetooth?</source>
        <translation>„%1“ in Bluetooth vergessen?</translation>
    </message>
    <message id="forget.message">
        <source>This computer forgets its pairing with the radio and what it knew of the radio's services. The next connection pairs afresh; the radio may ask for its PIN.</source>
        <translation>Dieser Computer vergisst die Kopplung mit dem Funkgerät und was er über dessen Dienste wusste. Die nächste Verbindung koppelt neu; das Funkgerät fragt dann womöglich nach seiner PIN.</translation>
    </message>
    <message id="forget.confirm">
        <source>Forget</source>
        <translation>Vergessen</translation>
    </message>
    <message id="forget.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="pairing.title">
        <source>Pair with the radio</source>
        <translation>Mit dem Funkgerät koppeln</translation>
    </message>
    <message id="pairing.enter.subtitle">
        <source>“%1” asks for its PIN. It is shown on the radio, or given in its manual.</source>
        <translation>„%1“ fragt nach seiner PIN. Sie steht auf dem Display des Funkgeräts oder in seiner Anleitung.</translation>
    </message>
    <message id="pairing.confirm.subtitle">
        <source>Pair only if “%1” shows this passkey:</source>
        <translation>Nur koppeln, wenn „%1“ diesen Schlüssel zeigt:</translation>
    </message>
    <message id="pairing.show.subtitle">
        <source>Type this passkey on “%1”:</source>
        <translation>Gib diesen Schlüssel am Funkgerät „%1“ ein:</translation>
    </message>
    <message id="pairing.field.pin">
        <source>PIN</source>
        <translation>PIN</translation>
    </message>
    <message id="pairing.field.pin.placeholder">
        <source>6 digits</source>
        <translation>6 Ziffern</translation>
    </message>
    <message id="pairing.button.pair">
        <source>Pair</source>
        <translation>Koppeln</translation>
    </message>
    <message id="pairing.button.done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="notifications.button">
        <source>Notifications</source>
        <translation>Benachrichtigungen</translation>
    </message>
    <message id="notifications.level.all">
        <source>All Messages</source>
        <translation>Alle Nachrichten</translation>
    </message>
    <message id="notifications.level.mentions">
        <source>Mentions Only</source>
        <translation>Nur Erwähnungen</translation>
    </message>
    <message id="notifications.level.nothing">
        <source>Nothing</source>
        <translation>Nichts</translation>
    </message>
    <message id="notifications.level.all.short">
        <source>All</source>
        <translation>Alle</translation>
    </message>
    <message id="notifications.level.mentions.short">
        <source>Mentions</source>
        <translation>Erwähnt</translation>
    </message>
    <message id="notifications.level.nothing.short">
        <source>Nothing</source>
        <translation>Nichts</translation>
    </message>
    <message id="menu.view.mute">
        <source>Mute Conversation</source>
        <translation>Unterhaltung stummschalten</translation>
    </message>
    <message id="menu.file.save.conversation">
        <source>Save Conversation As…</source>
        <translation>Unterhaltung speichern unter …</translation>
    </message>
    <message id="chat.jump.latest">
        <source>Jump to Latest</source>
        <translation>Zur neuesten Nachricht</translation>
    </message>
    <message id="save.conversation.title">
        <source>Save Conversation</source>
        <translation>Unterhaltung speichern</translation>
    </message>
    <message id="save.conversation.filter">
        <source>Text files (*.txt)</source>
        <translation>Textdateien (*.txt)</translation>
    </message>
    <message id="save.conversation.received">
        <source>Received</source>
        <translation>Empfangen</translation>
    </message>
    <message id="save.conversation.failed">
        <source>The conversation could not be saved</source>
        <translation>Die Unterhaltung konnte nicht gespeichert werden</translation>
    </message>
    <message id="save.conversation.none">
        <source>No conversation is open.</source>
        <translation>Keine Unterhaltung ist geöffnet.</translation>
    </message>
    <message id="save.conversation.not.local">
        <source>Conversations can only be saved to a folder on this computer.</source>
        <translation>Unterhaltungen lassen sich nur in einem Ordner auf diesem Computer speichern.</translation>
    </message>
    <message id="save.conversation.save">
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message id="save.conversation.close">
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message id="save.conversation.elsewhere">
        <source>Save Elsewhere…</source>
        <translation>Anderswo speichern …</translation>
    </message>
    <message id="spoken.unread.mentions" numerus="yes">
        <source>%n mentions of you</source>
        <translation>
            <numerusform>%n Erwähnung von dir</numerusform>
            <numerusform>%n Erwähnungen von dir</numerusform>
        </translation>
    </message>
    <message id="chat.unread.divider" numerus="yes">
        <source>%n new messages</source>
        <translation>
            <numerusform>%n neue Nachricht</numerusform>
            <numerusform>%n neue Nachrichten</numerusform>
        </translation>
    </message>
    <message id="chat.jump.latest.new" numerus="yes">
        <source>%n new</source>
        <translation>
            <numerusform>%n neue</numerusform>
            <numerusform>%n neue</numerusform>
        </translation>
    </message>
</context>
</TS>
