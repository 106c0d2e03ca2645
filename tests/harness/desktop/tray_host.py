"""A StatusNotifier tray: the D-Bus side of a desktop's panel, without the panel."""
import gi

gi.require_version("Gio", "2.0")
from gi.repository import GLib  # noqa: E402  (the version comes first)

from ..waiting import LIMIT, eventually  # noqa: E402
from .bus_service import LIMIT_MS, BusService  # noqa: E402

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
WATCHER_XML = f"""<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" name="service" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" name="service" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
  <signal name="StatusNotifierHostUnregistered"/>
</interface></node>"""


class TrayHost(BusService):
    """The StatusNotifierWatcher and, if `hosting`, a host; begin_hosting() registers a host later."""

    def __init__(self, bus_address, hosting=True):
        self._items = []
        self._hosting = hosting
        super().__init__(bus_address, WATCHER, "/StatusNotifierWatcher", WATCHER_XML)

    def begin_hosting(self):
        self._hosting = True
        self.emit(WATCHER, "StatusNotifierHostRegistered")

    def item(self, within=LIMIT):
        """Waits for the icon and returns it."""
        eventually(lambda: self._items, within, "an icon is in the tray")
        return TrayItem(self._connection, self._items[-1])

    def items(self):
        return list(self._items)

    def handle_call(self, sender, method, arguments):
        if method == "RegisterStatusNotifierItem":
            self._items.append(sender)

    def get_property(self, name):
        return {"RegisteredStatusNotifierItems": lambda: GLib.Variant("as", self._items),
                "IsStatusNotifierHostRegistered": lambda: GLib.Variant("b", self._hosting),
                "ProtocolVersion": lambda: GLib.Variant("i", 0)}[name]()


class TrayItem:
    """An icon in the tray, with its menu."""

    def __init__(self, connection, service):
        self._connection = connection
        self.service = service
        self._menu_path = self.property("Menu")

    def property(self, name):
        return self._call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", (ITEM, name)))[0]

    def activate(self):
        """Activates the icon, as a host does on a left click when it does not show the menu itself."""
        self._call("/StatusNotifierItem", ITEM, "Activate", GLib.Variant("(ii)", (0, 0)))

    def entries(self):
        """Returns the menu's entries from top to bottom; a submenu is in `children` of its entry."""
        layout = self._call(self._menu_path, MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])))
        return [MenuEntry(self, child) for child in layout[1][2]]

    def labels(self):
        return [entry.label for entry in self.entries()]

    def entry(self, label, within=LIMIT):
        """Waits for the entry with this label, in the menu or in one of its submenus."""
        return eventually(lambda: self._find(self.entries(), label), within, f"an entry {label!r}")

    def click(self, label):
        entry = self.entry(label)
        assert entry.enabled, f"{label!r} is disabled"
        self._call(self._menu_path, MENU, "Event",
                   GLib.Variant("(isvu)", (entry.id, "clicked", GLib.Variant("i", 0), 0)))

    def _find(self, entries, label):
        for entry in entries:
            found = entry if entry.label == label else self._find(entry.children, label)
            if found:
                return found
        return None

    def _call(self, path, interface, method, arguments):
        reply = self._connection.call_sync(self.service, path, interface, method, arguments, None,
                                           0, LIMIT_MS, None)
        return reply.unpack()


class MenuEntry:
    def __init__(self, item, layout):
        self.id, properties, children = layout
        self.label = properties.get("label", "").replace("__", "\0").replace("_", "").replace(
            "\0", "_")
        self.is_separator = properties.get("type") == "separator"
        self.enabled = properties.get("enabled", True)
        self.toggle_type = properties.get("toggle-type", "")
        self.is_on = properties.get("toggle-state", -1) == 1
        self.shortcut = properties.get("shortcut", [])
        self.children = [MenuEntry(item, child) for child in children]
