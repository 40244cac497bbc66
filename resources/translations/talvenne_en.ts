<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="contact.type.unknown">
        <source>Unknown</source>
        <translation>Unknown</translation>
    </message>
    <message id="contact.type.companion">
        <source>Companion</source>
        <translation>Companion</translation>
    </message>
    <message id="contact.type.repeater">
        <source>Repeater</source>
        <translation>Repeater</translation>
    </message>
    <message id="contact.type.room">
        <source>Room Server</source>
        <translation>Room Server</translation>
    </message>
    <message id="contact.type.sensor">
        <source>Sensor</source>
        <translation>Sensor</translation>
    </message>
    <message id="channel.default.name">
        <source>Channel %1</source>
        <translation>Channel %1</translation>
    </message>
    <message id="channel.default.name.public">
        <source>Public</source>
        <translation>Public</translation>
    </message>
    <message id="main.empty.conversation.title">
        <source>No Conversation Selected</source>
        <translation>No Conversation Selected</translation>
    </message>
    <message id="main.empty.conversation.message">
        <source>Choose a channel or a contact in the sidebar to start chatting.</source>
        <translation>Choose a channel or a contact in the sidebar to start chatting.</translation>
    </message>
    <message id="main.empty.node.title">
        <source>No Node Selected</source>
        <translation>No Node Selected</translation>
    </message>
    <message id="main.empty.node.message">
        <source>Choose a repeater, room or sensor in the sidebar to see its details.</source>
        <translation>Choose a repeater, room or sensor in the sidebar to see its details.</translation>
    </message>
    <message id="main.toolbar.add">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="main.toolbar.add.help">
        <source>Add a contact or a channel</source>
        <translation>Add a contact or a channel</translation>
    </message>
    <message id="main.toolbar.add.contact">
        <source>Add Contact…</source>
        <translation>Add Contact…</translation>
    </message>
    <message id="main.toolbar.add.channel">
        <source>Add Channel…</source>
        <translation>Add Channel…</translation>
    </message>
    <message id="main.toolbar.advertise">
        <source>Advertise</source>
        <translation>Advertise</translation>
    </message>
    <message id="main.toolbar.advertise.sent">
        <source>Advert Sent</source>
        <translation>Advert Sent</translation>
    </message>
    <message id="main.toolbar.advertise.help">
        <source>Announce this radio to the whole mesh</source>
        <translation>Announce this radio to the whole mesh</translation>
    </message>
    <message id="main.toolbar.conversation.info">
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message id="main.toolbar.conversation.info.help">
        <source>Show details about this contact</source>
        <translation>Show details about this contact</translation>
    </message>
    <message id="main.toolbar.device">
        <source>Device</source>
        <translation>Device</translation>
    </message>
    <message id="main.toolbar.device.help">
        <source>Show the connected radio</source>
        <translation>Show the connected radio</translation>
    </message>
    <message id="main.connection.syncing">
        <source>Syncing…</source>
        <translation>Syncing…</translation>
    </message>
    <message id="main.mode.messages">
        <source>Messages</source>
        <translation>Messages</translation>
    </message>
    <message id="main.mode.nodes">
        <source>Nodes</source>
        <translation>Nodes</translation>
    </message>
    <message id="sidebar.search.conversations">
        <source>Search conversations</source>
        <translation>Search conversations</translation>
    </message>
    <message id="sidebar.search.nodes">
        <source>Search nodes</source>
        <translation>Search nodes</translation>
    </message>
    <message id="sidebar.section.channels">
        <source>Channels</source>
        <translation>Channels</translation>
    </message>
    <message id="sidebar.section.contacts">
        <source>Contacts</source>
        <translation>Contacts</translation>
    </message>
    <message id="sidebar.section.favorites">
        <source>Favourites</source>
        <translation>Favourites</translation>
    </message>
    <message id="sidebar.section.all.nodes">
        <source>All Nodes</source>
        <translation>All Nodes</translation>
    </message>
    <message id="sidebar.section.nodes">
        <source>Nodes</source>
        <translation>Nodes</translation>
    </message>
    <message id="sidebar.channel.group">
        <source>Group channel</source>
        <translation>Group channel</translation>
    </message>
    <message id="sidebar.row.name.and.key">
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message id="sidebar.channel.remove">
        <source>Remove Channel</source>
        <translation>Remove Channel</translation>
    </message>
    <message id="sidebar.favorite.add">
        <source>Add to Favourites</source>
        <translation>Add to Favourites</translation>
    </message>
    <message id="sidebar.favorite.remove">
        <source>Remove from Favourites</source>
        <translation>Remove from Favourites</translation>
    </message>
    <message id="sidebar.empty.conversations.title">
        <source>No Conversations</source>
        <translation>No Conversations</translation>
    </message>
    <message id="sidebar.empty.conversations.message">
        <source>Contacts and channels from your radio will appear here.</source>
        <translation>Contacts and channels from your radio will appear here.</translation>
    </message>
    <message id="sidebar.empty.nodes.title">
        <source>No Nodes</source>
        <translation>No Nodes</translation>
    </message>
    <message id="sidebar.empty.nodes.message">
        <source>Repeaters, room servers and sensors your radio hears will appear here.</source>
        <translation>Repeaters, room servers and sensors your radio hears will appear here.</translation>
    </message>
    <message id="chat.subtitle.routed.typed">
        <source>%1 · flood routed</source>
        <translation>%1 · flood routed</translation>
    </message>
    <message id="chat.subtitle.direct.typed">
        <source>%1 · direct route</source>
        <translation>%1 · direct route</translation>
    </message>
    <message id="chat.subtitle.direct">
        <source>Direct message</source>
        <translation>Direct message</translation>
    </message>
    <message id="chat.subtitle.channel">
        <source>Channel</source>
        <translation>Channel</translation>
    </message>
    <message id="chat.verify.verified.help">
        <source>You have verified this contact's key</source>
        <translation>You have verified this contact's key</translation>
    </message>
    <message id="chat.verify.unverified.help">
        <source>This contact's key is not verified</source>
        <translation>This contact's key is not verified</translation>
    </message>
    <message id="chat.verify.remove">
        <source>Remove Verification</source>
        <translation>Remove Verification</translation>
    </message>
    <message id="chat.verify.mark">
        <source>Mark as Verified</source>
        <translation>Mark as Verified</translation>
    </message>
    <message id="chat.conflict.message">
        <source>Another verified contact is named “%1”. This key may belong to someone else.</source>
        <translation>Another verified contact is named “%1”. This key may belong to someone else.</translation>
    </message>
    <message id="chat.conflict.verify.anyway">
        <source>Verify Anyway</source>
        <translation>Verify Anyway</translation>
    </message>
    <message id="chat.empty.title">
        <source>No Messages Yet</source>
        <translation>No Messages Yet</translation>
    </message>
    <message id="chat.empty.message">
        <source>Messages you send and receive here will appear in this conversation.</source>
        <translation>Messages you send and receive here will appear in this conversation.</translation>
    </message>
    <message id="chat.composer.placeholder">
        <source>Message</source>
        <translation>Message</translation>
    </message>
    <message id="chat.composer.limit">
        <source>Up to %1 characters</source>
        <translation>Up to %1 characters</translation>
    </message>
    <message id="chat.message.delivery.show.report">
        <source>Show delivery report</source>
        <translation>Show delivery report</translation>
    </message>
    <message id="chat.message.copy.text">
        <source>Copy text</source>
        <translation>Copy text</translation>
    </message>
    <message id="chat.message.send.again">
        <source>Send again</source>
        <translation>Send again</translation>
    </message>
    <message id="chat.message.failed.options">
        <source>Not sent: options</source>
        <translation>Not sent: options</translation>
    </message>
    <message id="main.connection.reconnecting">
        <source>Reconnecting…</source>
        <translation>Reconnecting…</translation>
    </message>
    <message id="chat.composer.reconnecting">
        <source>Reconnecting to %1… Messages can be sent once it is back.</source>
        <translation>Reconnecting to %1… Messages can be sent once it is back.</translation>
    </message>
    <message id="chat.composer.not.connected">
        <source>Not connected to a radio.</source>
        <translation>Not connected to a radio.</translation>
    </message>
    <message id="main.connection.away">
        <source>Radio away</source>
        <translation>Radio away</translation>
    </message>
    <message id="chat.composer.radio.away">
        <source>Your radio is away. Messages can be sent once it is connected again.</source>
        <translation>Your radio is away. Messages can be sent once it is connected again.</translation>
    </message>
    <message id="main.radio.needed.reconnecting">
        <source>Needs the radio: reconnecting to %1…</source>
        <translation>Needs the radio: reconnecting to %1…</translation>
    </message>
    <message id="main.radio.needed.away">
        <source>Needs the radio, which is away.</source>
        <translation>Needs the radio, which is away.</translation>
    </message>
    <message id="menu.file.connect.another">
        <source>Connect to Another Radio…</source>
        <translation>Connect to Another Radio…</translation>
    </message>
    <message id="menu.file.forget.radio">
        <source>Forget This Radio…</source>
        <translation>Forget This Radio…</translation>
    </message>
    <message id="forget.radio.title">
        <source>Forget %1?</source>
        <translation>Forget %1?</translation>
    </message>
    <message id="forget.radio.text">
        <source>The list of nodes and channels this computer keeps for the radio is deleted, and Talvenne stops reconnecting to it. Your conversations stay, and so does the radio's Bluetooth pairing.</source>
        <translation>The list of nodes and channels this computer keeps for the radio is deleted, and Talvenne stops reconnecting to it. Your conversations stay, and so does the radio's Bluetooth pairing.</translation>
    </message>
    <message id="forget.radio.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="forget.radio.confirm">
        <source>Forget</source>
        <translation>Forget</translation>
    </message>
    <message id="node.book.failed">
        <source>The radio's list of nodes could not be kept: %1 The history is not affected.</source>
        <translation>The radio's list of nodes could not be kept: %1 The history is not affected.</translation>
    </message>
    <message id="menu.file.reconnect.automatically">
        <source>Reconnect automatically</source>
        <translation>Reconnect automatically</translation>
    </message>
    <message id="menu.view.search.messages">
        <source>Search Messages…</source>
        <translation>Search Messages…</translation>
    </message>
    <message id="search.history.prompt">
        <source>Search all messages</source>
        <translation>Search all messages</translation>
    </message>
    <message id="search.history.results">
        <source>Matching messages</source>
        <translation>Matching messages</translation>
    </message>
    <message id="search.history.empty">
        <source>No messages match “%1”</source>
        <translation>No messages match “%1”</translation>
    </message>
    <message id="search.history.searching">
        <source>Searching older messages…</source>
        <translation>Searching older messages…</translation>
    </message>
    <message id="search.history.sender.you">
        <source>You</source>
        <translation>You</translation>
    </message>
    <message id="search.history.result.spoken">
        <source>%1, %2: %3</source>
        <translation>%1, %2: %3</translation>
    </message>
    <message id="chat.message.delivery.sending">
        <source>Sending…</source>
        <translation>Sending…</translation>
    </message>
    <message id="chat.message.delivery.sent">
        <source>Sent, waiting for confirmation</source>
        <translation>Sent, waiting for confirmation</translation>
    </message>
    <message id="chat.message.delivery.delivered">
        <source>Delivered</source>
        <translation>Delivered</translation>
    </message>
    <message id="chat.message.delivery.failed">
        <source>Failed to send</source>
        <translation>Failed to send</translation>
    </message>
    <message id="chat.message.delivery.direct">
        <source>Direct, no hops</source>
        <translation>Direct, no hops</translation>
    </message>
    <message id="chat.message.delivery.relayed">
        <source>Relayed over %1 hop</source>
        <translation>Relayed over %1 hop</translation>
    </message>
    <message id="chat.message.delivery.relayed.plural">
        <source>Relayed over %1 hops</source>
        <translation>Relayed over %1 hops</translation>
    </message>
    <message id="chat.message.delivery.roundtrip">
        <source>Round trip %1 s</source>
        <translation>Round trip %1 s</translation>
    </message>
    <message id="chat.message.delivery.snr">
        <source>Signal-to-noise %1 dB</source>
        <translation>Signal-to-noise %1 dB</translation>
    </message>
    <message id="chat.message.delivery.timeout">
        <source>Expected within %1 s</source>
        <translation>Expected within %1 s</translation>
    </message>
    <message id="chat.message.delivery.unconfirmed">
        <source>Not confirmed within %1 s</source>
        <translation>Not confirmed within %1 s</translation>
    </message>
    <message id="connection.title">
        <source>Talvenne</source>
        <translation>Talvenne</translation>
    </message>
    <message id="connection.subtitle">
        <source>Connect to your mesh radio over Bluetooth</source>
        <translation>Connect to your mesh radio over Bluetooth</translation>
    </message>
    <message id="connection.nearby.devices">
        <source>Nearby Radios</source>
        <translation>Nearby Radios</translation>
    </message>
    <message id="connection.empty.powered.off">
        <source>Bluetooth is turned off.</source>
        <translation>Bluetooth is turned off.</translation>
    </message>
    <message id="connection.empty.unauthorized">
        <source>Talvenne is not allowed to use Bluetooth.</source>
        <translation>Talvenne is not allowed to use Bluetooth.</translation>
    </message>
    <message id="connection.empty.scanning">
        <source>Looking for radios…</source>
        <translation>Looking for radios…</translation>
    </message>
    <message id="connection.empty.connecting">
        <source>Connecting…</source>
        <translation>Connecting…</translation>
    </message>
    <message id="connection.empty.preparing">
        <source>Getting Bluetooth ready…</source>
        <translation>Getting Bluetooth ready…</translation>
    </message>
    <message id="connection.empty.none.found">
        <source>No radio found nearby</source>
        <translation>No radio found nearby</translation>
    </message>
    <message id="connection.button.scan">
        <source>Scan</source>
        <translation>Scan</translation>
    </message>
    <message id="connection.button.scan.again">
        <source>Scan Again</source>
        <translation>Scan Again</translation>
    </message>
    <message id="connection.button.stop">
        <source>Stop</source>
        <translation>Stop</translation>
    </message>
    <message id="connection.bluetooth.no.service">
        <source>The Bluetooth service is not running</source>
        <translation>The Bluetooth service is not running</translation>
    </message>
    <message id="connection.bluetooth.no.service.detail">
        <source>Talvenne reaches radios through the system's Bluetooth service (BlueZ). Start it, for example with “systemctl start bluetooth”; Talvenne notices when it is running.</source>
        <translation>Talvenne reaches radios through the system's Bluetooth service (BlueZ). Start it, for example with “systemctl start bluetooth”; Talvenne notices when it is running.</translation>
    </message>
    <message id="connection.bluetooth.no.adapter">
        <source>No Bluetooth adapter</source>
        <translation>No Bluetooth adapter</translation>
    </message>
    <message id="connection.bluetooth.no.adapter.detail">
        <source>The Bluetooth service has no adapter to use. Plug one in, or unblock it if it is switched off with a radio switch or rfkill.</source>
        <translation>The Bluetooth service has no adapter to use. Plug one in, or unblock it if it is switched off with a radio switch or rfkill.</translation>
    </message>
    <message id="connection.bluetooth.off">
        <source>Bluetooth is off</source>
        <translation>Bluetooth is off</translation>
    </message>
    <message id="connection.bluetooth.off.detail">
        <source>Turn Bluetooth on to find radios nearby.</source>
        <translation>Turn Bluetooth on to find radios nearby.</translation>
    </message>
    <message id="connection.bluetooth.off.detail.settings">
        <source>The system did not let Talvenne turn it on. Turn Bluetooth on in the system settings to find radios nearby.</source>
        <translation>The system did not let Talvenne turn it on. Turn Bluetooth on in the system settings to find radios nearby.</translation>
    </message>
    <message id="connection.bluetooth.not.permitted">
        <source>Talvenne may not use Bluetooth</source>
        <translation>Talvenne may not use Bluetooth</translation>
    </message>
    <message id="connection.bluetooth.not.permitted.detail">
        <source>The system does not let this user talk to the Bluetooth service. Ask the administrator to allow it, for example by adding you to the “bluetooth” group.</source>
        <translation>The system does not let this user talk to the Bluetooth service. Ask the administrator to allow it, for example by adding you to the “bluetooth” group.</translation>
    </message>
    <message id="connection.bluetooth.power.on">
        <source>Turn Bluetooth On</source>
        <translation>Turn Bluetooth On</translation>
    </message>
    <message id="add.contact.title">
        <source>Add Contact</source>
        <translation>Add Contact</translation>
    </message>
    <message id="add.contact.subtitle">
        <source>Add a node by its name and public key.</source>
        <translation>Add a node by its name and public key.</translation>
    </message>
    <message id="add.contact.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="add.contact.field.name.placeholder">
        <source>Contact name</source>
        <translation>Contact name</translation>
    </message>
    <message id="add.contact.field.public.key">
        <source>Public Key</source>
        <translation>Public Key</translation>
    </message>
    <message id="add.contact.field.public.key.placeholder">
        <source>64 hexadecimal digits</source>
        <translation>64 hexadecimal digits</translation>
    </message>
    <message id="add.contact.button.add">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="add.contact.button.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="add.channel.title">
        <source>Add Channel</source>
        <translation>Add Channel</translation>
    </message>
    <message id="add.channel.subtitle">
        <source>Create a channel or join an existing one.</source>
        <translation>Create a channel or join an existing one.</translation>
    </message>
    <message id="add.channel.type">
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message id="add.channel.mode.create.private">
        <source>Create Private</source>
        <translation>Create Private</translation>
    </message>
    <message id="add.channel.mode.join.private">
        <source>Join Private</source>
        <translation>Join Private</translation>
    </message>
    <message id="add.channel.mode.join.public">
        <source>Join Public</source>
        <translation>Join Public</translation>
    </message>
    <message id="add.channel.mode.join.hashtag">
        <source>Join Hashtag</source>
        <translation>Join Hashtag</translation>
    </message>
    <message id="add.channel.button.create">
        <source>Create</source>
        <translation>Create</translation>
    </message>
    <message id="add.channel.button.join">
        <source>Join</source>
        <translation>Join</translation>
    </message>
    <message id="add.channel.button.done">
        <source>Done</source>
        <translation>Done</translation>
    </message>
    <message id="add.channel.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="add.channel.field.name.placeholder">
        <source>Channel name</source>
        <translation>Channel name</translation>
    </message>
    <message id="add.channel.field.key">
        <source>Secret Key</source>
        <translation>Secret Key</translation>
    </message>
    <message id="add.channel.field.key.placeholder">
        <source>32 hexadecimal digits</source>
        <translation>32 hexadecimal digits</translation>
    </message>
    <message id="add.channel.field.hashtag">
        <source>Hashtag</source>
        <translation>Hashtag</translation>
    </message>
    <message id="add.channel.field.hashtag.placeholder">
        <source>#channel</source>
        <translation>#channel</translation>
    </message>
    <message id="add.channel.create.message">
        <source>A new random secret is created for this channel. Share it with the people who should join.</source>
        <translation>A new random secret is created for this channel. Share it with the people who should join.</translation>
    </message>
    <message id="add.channel.join.public.message">
        <source>Joins the public channel that every radio can read.</source>
        <translation>Joins the public channel that every radio can read.</translation>
    </message>
    <message id="add.channel.join.hashtag.message">
        <source>Everyone who joins the same hashtag shares this channel; its secret comes from the name.</source>
        <translation>Everyone who joins the same hashtag shares this channel; its secret comes from the name.</translation>
    </message>
    <message id="add.channel.share.title">
        <source>Share This Secret</source>
        <translation>Share This Secret</translation>
    </message>
    <message id="add.channel.copy.help">
        <source>Copy the secret</source>
        <translation>Copy the secret</translation>
    </message>
    <message id="add.contact.exists">
        <source>%1 is already a contact.</source>
        <translation>%1 is already a contact.</translation>
    </message>
    <message id="add.channel.exists">
        <source>You have already joined %1.</source>
        <translation>You have already joined %1.</translation>
    </message>
    <message id="add.button.open">
        <source>Open</source>
        <translation>Open</translation>
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
        <translation>Device</translation>
    </message>
    <message id="device.loading">
        <source>Loading…</source>
        <translation>Loading…</translation>
    </message>
    <message id="device.section.identity">
        <source>Identity</source>
        <translation>Identity</translation>
    </message>
    <message id="device.section.radio">
        <source>Radio</source>
        <translation>Radio</translation>
    </message>
    <message id="device.section.statistics">
        <source>Statistics</source>
        <translation>Statistics</translation>
    </message>
    <message id="device.field.name">
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message id="device.field.name.placeholder">
        <source>Radio name</source>
        <translation>Radio name</translation>
    </message>
    <message id="device.field.type">
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message id="device.field.public.key">
        <source>Public Key</source>
        <translation>Public Key</translation>
    </message>
    <message id="device.field.model">
        <source>Model</source>
        <translation>Model</translation>
    </message>
    <message id="device.field.firmware">
        <source>Firmware</source>
        <translation>Firmware</translation>
    </message>
    <message id="device.field.battery">
        <source>Battery</source>
        <translation>Battery</translation>
    </message>
    <message id="device.field.frequency">
        <source>Frequency</source>
        <translation>Frequency</translation>
    </message>
    <message id="device.field.bandwidth">
        <source>Bandwidth</source>
        <translation>Bandwidth</translation>
    </message>
    <message id="device.field.spreading.factor">
        <source>Spreading Factor</source>
        <translation>Spreading Factor</translation>
    </message>
    <message id="device.field.coding.rate">
        <source>Coding Rate</source>
        <translation>Coding Rate</translation>
    </message>
    <message id="device.field.tx.power">
        <source>Transmit Power</source>
        <translation>Transmit Power</translation>
    </message>
    <message id="device.field.last.rssi">
        <source>Last RSSI</source>
        <translation>Last RSSI</translation>
    </message>
    <message id="device.field.last.snr">
        <source>Last SNR</source>
        <translation>Last SNR</translation>
    </message>
    <message id="device.field.noise.floor">
        <source>Noise Floor</source>
        <translation>Noise Floor</translation>
    </message>
    <message id="device.field.packets.sent">
        <source>Packets Sent</source>
        <translation>Packets Sent</translation>
    </message>
    <message id="device.field.packets.received">
        <source>Packets Received</source>
        <translation>Packets Received</translation>
    </message>
    <message id="device.field.uptime">
        <source>Uptime</source>
        <translation>Uptime</translation>
    </message>
    <message id="device.button.save">
        <source>Save</source>
        <translation>Save</translation>
    </message>
    <message id="device.button.advertise.zero">
        <source>Advertise to Neighbours</source>
        <translation>Advertise to Neighbours</translation>
    </message>
    <message id="device.button.advertise.zero.sent">
        <source>Sent to Neighbours</source>
        <translation>Sent to Neighbours</translation>
    </message>
    <message id="device.button.advertise.flood">
        <source>Advertise to Mesh</source>
        <translation>Advertise to Mesh</translation>
    </message>
    <message id="device.button.advertise.flood.sent">
        <source>Sent to Mesh</source>
        <translation>Sent to Mesh</translation>
    </message>
    <message id="device.button.reboot">
        <source>Reboot</source>
        <translation>Reboot</translation>
    </message>
    <message id="device.button.disconnect">
        <source>Disconnect</source>
        <translation>Disconnect</translation>
    </message>
    <message id="device.reboot.title">
        <source>Reboot the radio?</source>
        <translation>Reboot the radio?</translation>
    </message>
    <message id="device.reboot.message">
        <source>The radio restarts and the connection is lost until it is back.</source>
        <translation>The radio restarts and the connection is lost until it is back.</translation>
    </message>
    <message id="device.reboot.confirm">
        <source>Reboot</source>
        <translation>Reboot</translation>
    </message>
    <message id="device.reboot.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="%lld dBm">
        <source>%1 dBm</source>
        <translation>%1 dBm</translation>
    </message>
    <message id="node.detail.unnamed">
        <source>Unnamed Node</source>
        <translation>Unnamed Node</translation>
    </message>
    <message id="node.detail.marker.node">
        <source>Node</source>
        <translation>Node</translation>
    </message>
    <message id="node.detail.routing">
        <source>Routing</source>
        <translation>Routing</translation>
    </message>
    <message id="node.detail.routing.flood">
        <source>Flood</source>
        <translation>Flood</translation>
    </message>
    <message id="node.detail.routing.direct">
        <source>Direct</source>
        <translation>Direct</translation>
    </message>
    <message id="node.detail.path.length">
        <source>Path Length</source>
        <translation>Path Length</translation>
    </message>
    <message id="node.detail.path.length.value">
        <source>%1 hop</source>
        <translation>%1 hop</translation>
    </message>
    <message id="node.detail.path.length.value.plural">
        <source>%1 hops</source>
        <translation>%1 hops</translation>
    </message>
    <message id="node.detail.last.seen">
        <source>Last Seen</source>
        <translation>Last Seen</translation>
    </message>
    <message id="node.detail.button.message">
        <source>Message</source>
        <translation>Message</translation>
    </message>
    <message id="node.detail.button.reset.path">
        <source>Reset Path</source>
        <translation>Reset Path</translation>
    </message>
    <message id="node.detail.button.share">
        <source>Share</source>
        <translation>Share</translation>
    </message>
    <message id="node.detail.button.favorite.add">
        <source>Add to Favourites</source>
        <translation>Add to Favourites</translation>
    </message>
    <message id="node.detail.button.favorite.remove">
        <source>Remove from Favourites</source>
        <translation>Remove from Favourites</translation>
    </message>
    <message id="node.detail.button.remove">
        <source>Remove</source>
        <translation>Remove</translation>
    </message>
    <message id="Public key">
        <source>Public key</source>
        <translation>Public key</translation>
    </message>
    <message id="inspector.chat.info.unnamed">
        <source>Unnamed Contact</source>
        <translation>Unnamed Contact</translation>
    </message>
    <message id="inspector.chat.info.verified">
        <source>Verified</source>
        <translation>Verified</translation>
    </message>
    <message id="inspector.chat.info.verified.message">
        <source>You have confirmed that this key belongs to this contact.</source>
        <translation>You have confirmed that this key belongs to this contact.</translation>
    </message>
    <message id="inspector.chat.info.mismatch">
        <source>Key Mismatch</source>
        <translation>Key Mismatch</translation>
    </message>
    <message id="inspector.chat.info.mismatch.message">
        <source>A different key is verified under this name. Check with the contact before trusting it.</source>
        <translation>A different key is verified under this name. Check with the contact before trusting it.</translation>
    </message>
    <message id="inspector.chat.info.not.verified">
        <source>Not Verified</source>
        <translation>Not Verified</translation>
    </message>
    <message id="inspector.chat.info.not.verified.message">
        <source>Compare the key with the contact in person, then mark it as verified.</source>
        <translation>Compare the key with the contact in person, then mark it as verified.</translation>
    </message>
    <message id="inspector.chat.info.verify">
        <source>Verify</source>
        <translation>Verify</translation>
    </message>
    <message id="inspector.chat.info.unverify">
        <source>Remove Verification</source>
        <translation>Remove Verification</translation>
    </message>
    <message id="node.detail.map.open">
        <source>Open in OpenStreetMap</source>
        <translation>Open in OpenStreetMap</translation>
    </message>
    <message id="map.title">
        <source>Map</source>
        <translation>Map</translation>
    </message>
    <message id="menu.view.map">
        <source>Map</source>
        <translation>Map</translation>
    </message>
    <message id="main.toolbar.map">
        <source>Map</source>
        <translation>Map</translation>
    </message>
    <message id="main.toolbar.map.help">
        <source>Show every node with a position on a map</source>
        <translation>Show every node with a position on a map</translation>
    </message>
    <message id="map.accessible.name">
        <source>Map of the mesh</source>
        <translation>Map of the mesh</translation>
    </message>
    <message id="map.node.accessible.name">
        <source>Map of the node's position</source>
        <translation>Map of the node's position</translation>
    </message>
    <message id="map.accessible.help">
        <source>Arrow keys move the map, plus and minus zoom, Tab walks the nodes</source>
        <translation>Arrow keys move the map, plus and minus zoom, Tab walks the nodes</translation>
    </message>
    <message id="map.outline.only">
        <source>Outline only</source>
        <translation>Outline only</translation>
    </message>
    <message id="map.outline.only.help">
        <source>The built-in map has only coastlines and borders at this scale. Street maps can be turned on in the map's settings.</source>
        <translation>The built-in map has only coastlines and borders at this scale. Street maps can be turned on in the map's settings.</translation>
    </message>
    <message id="map.zoom.in">
        <source>Zoom In</source>
        <translation>Zoom In</translation>
    </message>
    <message id="map.zoom.out">
        <source>Zoom Out</source>
        <translation>Zoom Out</translation>
    </message>
    <message id="map.fit">
        <source>Show All Nodes</source>
        <translation>Show All Nodes</translation>
    </message>
    <message id="map.empty">
        <source>No node has shared its position yet</source>
        <translation>No node has shared its position yet</translation>
    </message>
    <message id="map.count" numerus="yes">
        <source>%n nodes with a position</source>
        <translation>
            <numerusform>%n node with a position</numerusform>
            <numerusform>%n nodes with a position</numerusform>
        </translation>
    </message>
    <message id="map.settings">
        <source>Map Settings</source>
        <translation>Map Settings</translation>
    </message>
    <message id="map.tiles.switch">
        <source>Street maps from the internet</source>
        <translation>Street maps from the internet</translation>
    </message>
    <message id="map.tiles.off.note">
        <source>Off: Talvenne fetches nothing and draws the map from the outline it brings along.</source>
        <translation>Off: Talvenne fetches nothing and draws the map from the outline it brings along.</translation>
    </message>
    <message id="map.tiles.on.note">
        <source>On: the tiles of what the map shows are fetched from the address below and kept in the cache folder.</source>
        <translation>On: the tiles of what the map shows are fetched from the address below and kept in the cache folder.</translation>
    </message>
    <message id="map.tiles.address">
        <source>Tile address</source>
        <translation>Tile address</translation>
    </message>
    <message id="map.tiles.address.invalid">
        <source>Use an http or https address with {z}, {x} and {y}</source>
        <translation>Use an http or https address with {z}, {x} and {y}</translation>
    </message>
    <message id="map.tiles.address.reset">
        <source>Use OpenStreetMap</source>
        <translation>Use OpenStreetMap</translation>
    </message>
    <message id="map.attribution.open">
        <source>Open the map data's copyright notice</source>
        <translation>Open the map data's copyright notice</translation>
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
        <translation>NE</translation>
    </message>
    <message id="map.compass.e">
        <source>E</source>
        <translation>E</translation>
    </message>
    <message id="map.compass.se">
        <source>SE</source>
        <translation>SE</translation>
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
        <translation>%1 (your radio)</translation>
    </message>
    <message id="map.marker.self.spoken">
        <source>%1, your radio, %2</source>
        <translation>%1, your radio, %2</translation>
    </message>
    <message id="map.marker.group" numerus="yes">
        <source>%n nodes</source>
        <translation>
            <numerusform>%n node</numerusform>
            <numerusform>%n nodes</numerusform>
        </translation>
    </message>
    <message id="map.marker.group.spoken" numerus="yes">
        <source>%n nodes: %1</source>
        <translation>
            <numerusform>%n node: %1</numerusform>
            <numerusform>%n nodes: %1</numerusform>
        </translation>
    </message>
    <message id="node.detail.distance">
        <source>From your radio</source>
        <translation>From your radio</translation>
    </message>
    <message id="history.save.failed">
        <source>History could not be saved: %1</source>
        <translation>History could not be saved: %1</translation>
    </message>
    <message id="history.loading">
        <source>Loading messages…</source>
        <translation>Loading messages…</translation>
    </message>
    <message id="history.error.locked">
        <source>Talvenne is already running (process %1) and keeps it</source>
        <translation>Talvenne is already running (process %1) and keeps it</translation>
    </message>
    <message id="chat.composer.history.loading">
        <source>Your messages are being loaded. Messages can be sent once they are in.</source>
        <translation>Your messages are being loaded. Messages can be sent once they are in.</translation>
    </message>
    <message id="chat.composer.history.held">
        <source>Another Talvenne keeps your history. Messages can be sent once it has quit.</source>
        <translation>Another Talvenne keeps your history. Messages can be sent once it has quit.</translation>
    </message>
    <message id="history.quit.title">
        <source>Quit without saving?</source>
        <translation>Quit without saving?</translation>
    </message>
    <message id="history.quit.message">
        <source>History could not be saved: %1. Changes since the last save may be lost if you quit now.</source>
        <translation>History could not be saved: %1. Changes since the last save may be lost if you quit now.</translation>
    </message>
    <message id="history.quit.save">
        <source>Save Again</source>
        <translation>Save Again</translation>
    </message>
    <message id="history.quit.anyway">
        <source>Quit Anyway</source>
        <translation>Quit Anyway</translation>
    </message>
    <message id="history.quit.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="notification.body.count" numerus="yes">
        <source>%n new messages</source>
        <translation>
            <numerusform>%n new message</numerusform>
            <numerusform>%n new messages</numerusform>
        </translation>
    </message>
    <message id="notification.action.open">
        <source>Open</source>
        <translation>Open</translation>
    </message>
    <message id="time.relative.now">
        <source>now</source>
        <translation>now</translation>
    </message>
    <message id="time.relative.minutes">
        <source>%1m</source>
        <translation>%1m</translation>
    </message>
    <message id="time.relative.hours">
        <source>%1h</source>
        <translation>%1h</translation>
    </message>
    <message id="date.format.day.month">
        <source>d MMM</source>
        <translation>d MMM</translation>
    </message>
    <message id="date.format.day.month.year">
        <source>d MMM yyyy</source>
        <translation>d MMM yyyy</translation>
    </message>
    <message id="Disconnect">
        <source>Disconnect</source>
        <translation>Disconnect</translation>
    </message>
    <message id="menu.file">
        <source>&amp;File</source>
        <translation>&amp;File</translation>
    </message>
    <message id="menu.file.quit">
        <source>&amp;Quit</source>
        <translation>&amp;Quit</translation>
    </message>
    <message id="menu.view">
        <source>&amp;View</source>
        <translation>&amp;View</translation>
    </message>
    <message id="menu.view.find">
        <source>Find</source>
        <translation>Find</translation>
    </message>
    <message id="menu.view.conversation.info">
        <source>Conversation Info</source>
        <translation>Conversation Info</translation>
    </message>
    <message id="menu.view.device">
        <source>Device</source>
        <translation>Device</translation>
    </message>
    <message id="menu.help">
        <source>&amp;Help</source>
        <translation>&amp;Help</translation>
    </message>
    <message id="menu.help.about">
        <source>About Talvenne</source>
        <translation>About Talvenne</translation>
    </message>
    <message id="about.version">
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message id="about.description">
        <source>A chat client for LoRa mesh radios: your contacts, channels and the radio itself, over Bluetooth.</source>
        <translation>A chat client for LoRa mesh radios: your contacts, channels and the radio itself, over Bluetooth.</translation>
    </message>
    <message id="about.close">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="main.mode.picker">
        <source>Show</source>
        <translation>Show</translation>
    </message>
    <message id="chat.composer.send">
        <source>Send</source>
        <translation>Send</translation>
    </message>
    <message id="chat.verify.name">
        <source>Key verification</source>
        <translation>Key verification</translation>
    </message>
    <message id="device.button.edit.name">
        <source>Edit name</source>
        <translation>Edit name</translation>
    </message>
    <message id="device.button.refresh">
        <source>Refresh statistics</source>
        <translation>Refresh statistics</translation>
    </message>
    <message id="device.statistics.empty">
        <source>The radio has not sent its statistics yet.</source>
        <translation>The radio has not sent its statistics yet.</translation>
    </message>
    <message id="spoken.favorite">
        <source>Favourite</source>
        <translation>Favourite</translation>
    </message>
    <message id="spoken.unread">
        <source>%1 unread</source>
        <translation>%1 unread</translation>
    </message>
    <message id="spoken.routing">
        <source>%1 routing</source>
        <translation>%1 routing</translation>
    </message>
    <message id="spoken.has.position">
        <source>Has a position</source>
        <translation>Has a position</translation>
    </message>
    <message id="spoken.you">
        <source>You</source>
        <translation>You</translation>
    </message>
    <message id="connection.device.known">
        <source>Known</source>
        <translation>Known</translation>
    </message>
    <message id="connection.device.known.spoken">
        <source>Known to this computer</source>
        <translation>Known to this computer</translation>
    </message>
    <message id="connection.device.not.heard">
        <source>No signal yet</source>
        <translation>No signal yet</translation>
    </message>
    <message id="connection.device.current">
        <source>Connected now</source>
        <translation>Connected now</translation>
    </message>
    <message id="connection.button.retry">
        <source>Try again</source>
        <translation>Try again</translation>
    </message>
    <message id="connection.button.forget">
        <source>Forget this radio in Bluetooth…</source>
        <translation>Forget this radio in Bluetooth…</translation>
    </message>
    <message id="device.button.forget">
        <source>Forget this radio in Bluetooth…</source>
        <translation>Forget this radio in Bluetooth…</translation>
    </message>
    <message id="forget.title">
        <source>Forget “%1” in Bluetooth?</source>
        <translation>Forget “%1” in Bluetooth?</translation>
    </message>
    <message id="forget.message">
        <source>This computer forgets its pairing with the radio and what it knew of the radio's services. The next connection pairs afresh; the radio may ask for its PIN.</source>
        <translation>This computer forgets its pairing with the radio and what it knew of the radio's services. The next connection pairs afresh; the radio may ask for its PIN.</translation>
    </message>
    <message id="forget.confirm">
        <source>Forget</source>
        <translation>Forget</translation>
    </message>
    <message id="forget.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="pairing.title">
        <source>Pair with the radio</source>
        <translation>Pair with the radio</translation>
    </message>
    <message id="pairing.enter.subtitle">
        <source>“%1” asks for its PIN. It is shown on the radio, or given in its manual.</source>
        <translation>“%1” asks for its PIN. It is shown on the radio, or given in its manual.</translation>
    </message>
    <message id="pairing.confirm.subtitle">
        <source>Pair only if “%1” shows this passkey:</source>
        <translation>Pair only if “%1” shows this passkey:</translation>
    </message>
    <message id="pairing.show.subtitle">
        <source>Type this passkey on “%1”:</source>
        <translation>Type this passkey on “%1”:</translation>
    </message>
    <message id="pairing.field.pin">
        <source>PIN</source>
        <translation>PIN</translation>
    </message>
    <message id="pairing.field.pin.placeholder">
        <source>6 digits</source>
        <translation>6 digits</translation>
    </message>
    <message id="pairing.button.pair">
        <source>Pair</source>
        <translation>Pair</translation>
    </message>
    <message id="pairing.button.done">
        <source>Done</source>
        <translation>Done</translation>
    </message>
    <message id="notifications.button">
        <source>Notifications</source>
        <translation>Notifications</translation>
    </message>
    <message id="notifications.level.all">
        <source>All Messages</source>
        <translation>All Messages</translation>
    </message>
    <message id="notifications.level.mentions">
        <source>Mentions Only</source>
        <translation>Mentions Only</translation>
    </message>
    <message id="notifications.level.nothing">
        <source>Nothing</source>
        <translation>Nothing</translation>
    </message>
    <message id="notifications.level.all.short">
        <source>All</source>
        <translation>All</translation>
    </message>
    <message id="notifications.level.mentions.short">
        <source>Mentions</source>
        <translation>Mentions</translation>
    </message>
    <message id="notifications.level.nothing.short">
        <source>Nothing</source>
        <translation>Nothing</translation>
    </message>
    <message id="menu.view.mute">
        <source>Mute Conversation</source>
        <translation>Mute Conversation</translation>
    </message>
    <message id="menu.file.save.conversation">
        <source>Save Conversation As…</source>
        <translation>Save Conversation As…</translation>
    </message>
    <message id="chat.jump.latest">
        <source>Jump to Latest</source>
        <translation>Jump to Latest</translation>
    </message>
    <message id="save.conversation.title">
        <source>Save Conversation</source>
        <translation>Save Conversation</translation>
    </message>
    <message id="save.conversation.filter">
        <source>Text files (*.txt)</source>
        <translation>Text files (*.txt)</translation>
    </message>
    <message id="save.conversation.received">
        <source>Received</source>
        <translation>Received</translation>
    </message>
    <message id="save.conversation.failed">
        <source>The conversation could not be saved</source>
        <translation>The conversation could not be saved</translation>
    </message>
    <message id="save.conversation.none">
        <source>No conversation is open.</source>
        <translation>No conversation is open.</translation>
    </message>
    <message id="save.conversation.not.local">
        <source>Conversations can only be saved to a folder on this computer.</source>
        <translation>Conversations can only be saved to a folder on this computer.</translation>
    </message>
    <message id="save.conversation.save">
        <source>Save</source>
        <translation>Save</translation>
    </message>
    <message id="save.conversation.close">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="save.conversation.elsewhere">
        <source>Save Elsewhere…</source>
        <translation>Save Elsewhere…</translation>
    </message>
    <message id="spoken.unread.mentions" numerus="yes">
        <source>%n mentions of you</source>
        <translation>
            <numerusform>%n mention of you</numerusform>
            <numerusform>%n mentions of you</numerusform>
        </translation>
    </message>
    <message id="chat.unread.divider" numerus="yes">
        <source>%n new messages</source>
        <translation>
            <numerusform>%n new message</numerusform>
            <numerusform>%n new messages</numerusform>
        </translation>
    </message>
    <message id="chat.jump.latest.new" numerus="yes">
        <source>%n new</source>
        <translation>
            <numerusform>%n new</numerusform>
            <numerusform>%n new</numerusform>
        </translation>
    </message>
</context>
</TS>
