"""Drives Evolution's data server for evolution.sh: evolution.py URL USER PASSWORD."""

import base64
import sys
import time
import urllib.error
import urllib.request

import gi

for name, version in (("EDataServer", "1.2"), ("ECal", "2.0"), ("EBook", "1.2"),
                      ("EBookContacts", "1.2"), ("ICalGLib", "3.0")):
    gi.require_version(name, version)
from gi.repository import EBook, EBookContacts, ECal, EDataServer, GLib, ICalGLib

URL, USER, PASSWORD = sys.argv[1:]
PATIENCE = 30


def fail(what):
    sys.exit("FAILED: " + what)


def credentials():
    given = EDataServer.NamedParameters.new()
    given.set("username", USER)
    given.set("password", PASSWORD)
    return given


def wait(what, condition):
    """Lets the client work until the condition holds."""
    end = time.time() + PATIENCE
    while not condition():
        GLib.MainContext.default().iteration(False)
        if time.time() > end:
            fail(what)
        time.sleep(0.05)


class Server:
    """The folder of a client as the server has it."""

    def __init__(self, path, extension):
        self.path, self.extension = path, extension

    def call(self, method, uid, text=None):
        url = f"{URL}{self.path}{uid}{self.extension}"
        request = urllib.request.Request(url, text and text.encode(), method=method)
        login = base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
        request.add_header("Authorization", "Basic " + login)
        try:
            return urllib.request.urlopen(request).read().decode()
        except urllib.error.HTTPError as error:
            return str(error.code)


class Calendar:
    """Events or tasks at the client."""

    def __init__(self, source, kind, component):
        self.client = ECal.Client.connect_sync(source, kind, 1, None)
        self.component = component
        self.flags = ECal.OperationFlags.NONE

    def text(self, uid, title):
        lines = ("BEGIN:" + self.component, "UID:" + uid, "DTSTAMP:20250101T000000Z",
                 "DTSTART:20250701T100000Z", "SUMMARY:" + title, "END:" + self.component)
        return "".join(line + "\r\n" for line in lines)

    def upload(self, uid, title):
        return ("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\n" +
                self.text(uid, title) + "END:VCALENDAR\r\n")

    def add(self, title):
        component = ICalGLib.Component.new_from_string(self.text("made-by-client", title))
        return self.client.create_object_sync(component, self.flags, None)[1]

    def rename(self, uid, title):
        component = self.client.get_object_sync(uid, None, None)[1]
        component.set_summary(title)
        self.client.modify_object_sync(component, ECal.ObjModType.ALL, self.flags, None)

    def remove(self, uid):
        self.client.remove_object_sync(uid, None, ECal.ObjModType.ALL, self.flags, None)

    def titles(self):
        return {item.get_summary() for item in self.client.get_object_list_sync("#t", None)[1]}


class AddressBook:
    """Contacts at the client."""

    def __init__(self, source):
        self.client = EBook.BookClient.connect_sync(source, 1, None)

    def upload(self, uid, title):
        lines = ("BEGIN:VCARD", "VERSION:3.0", "UID:" + uid, "FN:" + title, f"N:{title};;;;",
                 "END:VCARD")
        return "".join(line + "\r\n" for line in lines)

    def add(self, title):
        contact = EBookContacts.Contact.new_from_vcard(self.upload("", title))
        contact.set_property("id", None)
        return self.client.add_contact_sync(contact, 0, None)[1]

    def rename(self, uid, title):
        contact = self.client.get_contact_sync(uid, None)[1]
        contact.set_property("full-name", title)
        self.client.modify_contact_sync(contact, 0, None)

    def remove(self, uid):
        self.client.remove_contact_by_uid_sync(uid, 0, None)

    def titles(self):
        everything = '(contains "x-evolution-any-field" "")'
        return {contact.get_property("full-name")
                for contact in self.client.get_contacts_sync(everything, None)[1]}


def check(name, folder, server):
    """Items go both ways and follow each other's changes."""
    def seen(titles):
        folder.client.refresh_sync(None)
        wait(f"{name}: the client shows {folder.titles()} instead of {titles}",
             lambda: folder.titles() == titles)

    uid = folder.add("Größe ☕")
    if "Größe ☕" not in server.call("GET", uid):
        fail(f"{name}: what the client made is not on the server")
    folder.rename(uid, "Renamed by client")
    text = server.call("GET", uid)
    if "Renamed by client" not in text:
        fail(f"{name}: what the client changed is not on the server: {text}")

    server.call("PUT", uid, text.replace("Renamed by client", "Renamed by server"))
    server.call("PUT", "made-by-server", folder.upload("made-by-server", "Made by server"))
    seen({"Renamed by server", "Made by server"})

    server.call("DELETE", "made-by-server")
    seen({"Renamed by server"})
    folder.remove(uid)
    if server.call("GET", uid) != "404":
        fail(f"{name}: what the client deleted is still on the server")
    seen(set())


def connect(registry, name):
    source = registry.ref_source(name)
    source.connect("credentials-required",
                   lambda asking, *_: asking.invoke_authenticate_sync(credentials(), None))
    return source


def main():
    registry = EDataServer.SourceRegistry.new_sync(None)
    folders = (
        ("calendar", lambda source: Calendar(source, ECal.ClientSourceType.EVENTS, "VEVENT"),
         Server("/webdav/calendar/", ".ics")),
        ("tasks", lambda source: Calendar(source, ECal.ClientSourceType.TASKS, "VTODO"),
         Server("/webdav/tasklist/", ".ics")),
        ("contacts", AddressBook, Server("/webdav/addressbook/", ".vcf")),
    )
    for name, open_folder, server in folders:
        source = connect(registry, name)
        folder = open_folder(source)
        source.invoke_authenticate_sync(credentials(), None)
        wait(f"{name}: no connection", lambda: source.get_connection_status() ==
             EDataServer.SourceConnectionStatus.CONNECTED)
        if folder.client.is_readonly():
            fail(f"{name}: the client takes it for read-only")
        check(name, folder, server)

    kinds = EDataServer.WebDAVDiscoverSupports
    found = EDataServer.webdav_discover_sources_sync(
        registry.ref_source("calendar"), URL + "/",
        kinds.EVENTS | kinds.TASKS | kinds.CONTACTS, credentials(), None)
    names = {source.display_name for source in found[3]}
    if names != {"Calendar", "Tasks", "Contacts"}:
        fail(f"the client discovers {names}")


main()
