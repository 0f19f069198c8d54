"""Real browsers: a private display, a private profile, the extension and the host in place.

Both browsers answer to the same few words: go, open_tab, open_window, show, run, close, stop_background.
"""

import http.server
import json
import os
import shutil
import signal
import socket
import ssl
import subprocess
import tempfile
import threading
import time
from urllib.parse import quote

REPOSITORY = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXTENSION = os.path.join(REPOSITORY, "extension")
EXTENSION_ID = "nkdpfmfnjaaoipnaclmafjfpkamnkpca"
GECKO_ID = "browser-link@velmora.invalid"
HOST_NAME = "com.velmora.browser_host"


def eventually(condition, timeout=5.0, step=0.01):
    """The first true value of `condition`, or its last value when time is up."""
    end = time.monotonic() + timeout
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(step)
    return value


class Web:
    """Every site there is: each page is titled by its host and path. "/nothing" answers 204.

    With a certificate file (and its key in it) it also answers those who come encrypted.
    """

    def __init__(self, port=0, certificate=None):
        web = self
        self.requests = []
        tls = None
        if certificate:
            tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            tls.load_cert_chain(certificate)

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                path = self.path if self.path.startswith("/") else "/" + self.path.split("/", 3)[3]
                web.requests.append((self.headers["Host"], path))
                body = web.page(self.headers["Host"], path).encode()
                if path == "/slow":
                    time.sleep(1.5)
                self.send_response(204 if path == "/nothing" else 200)
                self.send_header("Content-Type", "text/html")
                if path != "/nothing":
                    self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                if path != "/nothing":
                    self.wfile.write(body)

            def log_message(self, *_):
                pass

        class Server(http.server.ThreadingHTTPServer):
            daemon_threads = True
            request_queue_size = 64

            def finish_request(self, request, client):
                if tls and request.recv(1, socket.MSG_PEEK) == b"\x16":
                    request = tls.wrap_socket(request, server_side=True)
                super().finish_request(request, client)

            def handle_error(self, *_):  # browsers hang up as they please
                pass

        self.server = Server(("127.0.0.1", port), Handler)
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def page(self, host, path):
        title = host + path
        frame = '<iframe src="http://inner.test/">' if path == "/framed" else ""
        return "<!doctype html><title>%s</title><h1>%s</h1>%s" % (title, title, frame)

    def close(self):
        self.server.shutdown()
        self.server.server_close()


class Desktop:
    """A screen nobody else uses, with a window manager."""

    def __init__(self, size="1280x900"):
        # The number is ours to choose: a server that looks for one itself knows only those of its own
        # network, and would take over the socket files of the others.
        number = 100 + os.getpid() % 800
        while not self._serve(number, size):
            number += 1
        self.display = ":%d" % number
        self.manager = subprocess.Popen(["openbox"], env=dict(os.environ, DISPLAY=self.display),
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _serve(self, number, size):
        if os.path.exists("/tmp/.X%d-lock" % number) or os.path.exists("/tmp/.X11-unix/X%d" % number):
            return False
        reader, writer = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", ":%d" % number, "-displayfd", str(writer), "-screen", "0", size + "x24", "-nolisten", "tcp",
             "-noreset"],  # or it starts afresh, without the manager, when a first client leaves before the manager comes
            pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as ready:
            return ready.readline().strip() == str(number)

    def close(self):
        for process in (self.manager, self.server):
            process.terminate()
            process.wait()


class Home:
    """Folders of a user who has nothing yet. Whatever starts in it reaches no other session."""

    def __init__(self):
        self.path = tempfile.mkdtemp(prefix="velmora-home-")
        self.runtime = os.path.join(self.path, "run")
        os.mkdir(self.runtime, 0o700)

    def environment(self, display=None):
        inherited = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY")}
        return {**inherited, **({"DISPLAY": display} if display else {}), "HOME": self.path,
                "XDG_RUNTIME_DIR": self.runtime, "XDG_CONFIG_HOME": self.path + "/.config",
                "XDG_DATA_HOME": self.path + "/.local/share", "XDG_CACHE_HOME": self.path + "/.cache",
                "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent", "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"}

    def remove(self):
        eventually(lambda: shutil.rmtree(self.path, ignore_errors=True) or not os.path.exists(self.path), 5, 0.1)


class Browser:
    """What both browsers share: a home, the host's manifest in it, a process to end.

    In a `home` of somebody else's, who also has the manifest installed, no host is named.
    """

    def __init__(self, desktop, web, host=None, home=None, flags=()):
        self.owns_home = home is None
        self.home = home or Home()
        self.runtime = self.home.runtime
        self.profile = self.make_profile()
        self.desktop, self.web, self.host, self.flags = desktop, web, host, flags

    def make_profile(self):
        return tempfile.mkdtemp(prefix="profile-", dir=self.home.path)

    def environment(self):
        return self.home.environment(self.desktop.display)

    def install_host(self, folder, **allowed):
        if not self.host:
            return
        os.makedirs(folder)
        with open(os.path.join(folder, HOST_NAME + ".json"), "w") as manifest:
            json.dump({"name": HOST_NAME, "description": "Velmora", "path": os.path.abspath(self.host),
                       "type": "stdio", **allowed}, manifest)

    def launch(self, arguments, **options):
        self.log = open(self.profile + ".log", "w")
        self.process = subprocess.Popen(arguments, env=self.environment(), start_new_session=True,
                                        stdout=self.log, stderr=subprocess.STDOUT, **options)

    def quit(self):
        try:
            os.killpg(self.process.pid, signal.SIGTERM)
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            pass
        except ProcessLookupError:
            pass
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()
        self.log.close()
        if self.owns_home:
            self.home.remove()


class Chromium(Browser):
    name, identity = "chromium", EXTENSION_ID

    def make_profile(self):
        """Where it looks for hosts as well, so it must be the folder for which they are installed."""
        return self.home.path + "/.config/chromium"

    def start(self, address="about:blank"):
        self.install_host(self.profile + "/NativeMessagingHosts",
                          allowed_origins=["chrome-extension://%s/" % EXTENSION_ID])
        to_browser, self.output = os.pipe()
        self.input, from_browser = os.pipe()

        def place():  # the browser expects its remote control on 3 and 4
            os.dup2(os.dup(from_browser), 99)
            os.dup2(to_browser, 3)
            os.dup2(99, 4)

        self.launch(
            ["chromium", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--load-extension=" + EXTENSION, "--user-data-dir=" + self.profile, *self.flags,
             "--host-resolver-rules=MAP * 127.0.0.1:%d, EXCLUDE 127.0.0.1" % self.web.port,
             "--remote-debugging-pipe", address], preexec_fn=place, close_fds=False)
        os.close(to_browser)
        os.close(from_browser)
        self.replies, self.changed, self.number, self.sessions = {}, threading.Condition(), 0, {}
        threading.Thread(target=self._read, daemon=True).start()
        return self

    def _read(self):
        data = b""
        while more := os.read(self.input, 65536):
            *texts, data = (data + more).split(b"\0")
            with self.changed:
                for reply in map(json.loads, texts):
                    if "id" in reply:
                        self.replies[reply["id"]] = reply
                self.changed.notify_all()

    def call(self, method, session=None, **parameters):
        with self.changed:
            self.number += 1
            number = self.number
            message = {"id": number, "method": method, "params": parameters}
            if session:
                message["sessionId"] = session
            os.write(self.output, json.dumps(message).encode() + b"\0")
            if not self.changed.wait_for(lambda: number in self.replies, 15):
                raise TimeoutError(method)
            reply = self.replies.pop(number)
        if "error" in reply:
            raise RuntimeError("%s: %s" % (method, reply["error"]))
        return reply["result"]

    def targets(self, kind):
        return [t["targetId"] for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == kind]

    def session(self, target):
        if target not in self.sessions:
            self.sessions[target] = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        return self.sessions[target]

    def first_tab(self):
        return self.targets("page")[0]

    def address(self, tab):
        for target in self.call("Target.getTargets")["targetInfos"]:
            if target["targetId"] == tab:
                return target["url"]

    def go(self, tab, address):
        try:
            self.call("Page.navigate", self.session(tab), url=address)
        except RuntimeError:
            pass  # it did not get there; the tests look for themselves

    def open_tab(self, address, shown=True):
        return self.call("Target.createTarget", url=address, background=not shown)["targetId"]

    def open_window(self, address):
        return self.call("Target.createTarget", url=address, newWindow=True)["targetId"]

    def show(self, tab):
        self.call("Target.activateTarget", targetId=tab)

    def run(self, tab, script):
        return self.call("Runtime.evaluate", self.session(tab), expression=script, awaitPromise=True,
                         returnByValue=True)["result"].get("value")

    def close(self, tab):
        self.call("Target.closeTarget", targetId=tab)

    def part(self, tab):
        """Moves the tab into a window of its own."""
        title = self.run(tab, "document.title")
        self.run(self.targets("service_worker")[0],
                 "chrome.tabs.query({title: %s}).then(([tab]) => chrome.windows.create({tabId: tab.id}))"
                 ".then(() => 1)" % json.dumps(title))

    def stop_background(self):
        for worker in self.targets("service_worker"):
            self.close(worker)


class Firefox(Browser):
    name, identity = "firefox", GECKO_ID

    PREFERENCES = {
        "browser.shell.checkDefaultBrowser": False, "browser.aboutwelcome.enabled": False,
        "datareporting.policy.dataSubmissionEnabled": False, "toolkit.telemetry.enabled": False,
        "app.update.enabled": False, "browser.startup.homepage_override.mstone": "ignore",
        "termsofuse.bypassNotification": True, "datareporting.policy.dataSubmissionPolicyBypassNotification": True,
        "network.proxy.type": 1, "network.proxy.http": "127.0.0.1", "network.proxy.ssl": "127.0.0.1",
        "network.proxy.ssl_port": 9, "network.proxy.no_proxies_on": "127.0.0.1",
        "network.captive-portal-service.enabled": False, "network.connectivity-service.enabled": False,
        "dom.security.https_first": False, "browser.tabs.warnOnClose": False, "browser.startup.page": 0,
        "browser.newtab.preload": False,
    }

    def start(self, address="about:blank"):
        self.install_host(self.home.path + "/.mozilla/native-messaging-hosts", allowed_extensions=[GECKO_ID])
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        preferences = {**self.PREFERENCES, "network.proxy.http_port": self.web.port, "marionette.port": port}
        with open(self.profile + "/user.js", "w") as file:
            for name, value in preferences.items():
                file.write("user_pref(%s, %s);\n" % (json.dumps(name), json.dumps(value)))
        self.launch(["firefox-esr", "--profile", self.profile, "--no-remote", "--marionette",
                     "--remote-allow-system-access", address])
        self.number = 0
        self._connect(port)
        self.call("WebDriver:NewSession", capabilities={"alwaysMatch": {"pageLoadStrategy": "none"}})
        self.call("Addon:Install", path=EXTENSION, temporary=True)
        return self

    def _connect(self, port):
        end = time.monotonic() + 40
        while True:
            try:
                self.control = socket.create_connection(("127.0.0.1", port))
                break
            except OSError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.2)
        self.stream = self.control.makefile("rb")
        self._read()

    def _read(self):
        size = b""
        while (digit := self.stream.read(1)) != b":":
            size += digit
        return json.loads(self.stream.read(int(size)))

    def call(self, command, **parameters):
        self.number += 1
        body = json.dumps([0, self.number, command, parameters]).encode()
        self.control.sendall(b"%d:%s" % (len(body), body))
        _, _, error, result = self._read()
        if error:
            raise RuntimeError("%s: %s" % (command, error))
        return result

    def chrome(self, script, *arguments):
        self.call("Marionette:SetContext", value="chrome")
        try:
            failure = self.call("WebDriver:ExecuteAsyncScript", args=list(arguments), newSandbox=True, script=(
                "const done = arguments[arguments.length - 1]; (async (...args) => {%s})"
                "(...arguments).then(() => done(null), (e) => done(String(e)));" % script)).get("value")
            assert failure is None, failure
        finally:
            self.call("Marionette:SetContext", value="content")

    def _in(self, tab):
        self.call("WebDriver:SwitchToWindow", handle=tab, focus=False)

    def first_tab(self):
        return self.call("WebDriver:GetWindowHandles")[0]

    def address(self, tab):
        try:
            self._in(tab)
            return self.call("WebDriver:GetCurrentURL").get("value")
        except RuntimeError:  # between two pages
            return None

    def go(self, tab, address):
        self._in(tab)
        try:
            self.call("WebDriver:Navigate", url=address)
        except RuntimeError as error:
            if "about:neterror" not in str(error) or quote(address, safe="/") in str(error):
                raise
            # The error page of an earlier navigation came in between.
            self.call("WebDriver:Navigate", url=address)

    def open_tab(self, address, shown=True):
        tab = self.call("WebDriver:NewWindow", type="tab", focus=shown)["handle"]
        self.go(tab, address)
        return tab

    def open_window(self, address):
        tab = self.call("WebDriver:NewWindow", type="window", focus=True)["handle"]
        self.go(tab, address)
        return tab

    def show(self, tab):
        self.call("WebDriver:SwitchToWindow", handle=tab, focus=True)

    def run(self, tab, script):
        self._in(tab)
        return self.call("WebDriver:ExecuteScript", script="return " + script, args=[]).get("value")

    def close(self, tab):
        self._in(tab)
        self.call("WebDriver:CloseWindow")

    def part(self, tab):
        """Moves the tab into a window of its own."""
        title = self.run(tab, "document.title")
        self.chrome("""
            for (const window of Services.wm.getEnumerator("navigator:browser"))
              for (const tab of window.gBrowser.tabs)
                if (tab.linkedBrowser.contentTitle === args[0]) return void window.gBrowser.replaceTabWithWindow(tab);
        """, title)

    def stop_background(self):
        self.chrome("await WebExtensionPolicy.getByID(args[0]).extension.terminateBackground("
                    "{disableResetIdleForTest: true});", GECKO_ID)  # else the open port keeps it
