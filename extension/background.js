// The browser's end of the link to Velmora. It tells which pages are on screen, sends a shown tab to
// the block page when told to, and has the browser enforce what Velmora's rules forbid. It decides
// nothing itself and keeps nothing.

import { BLOCK_PAGE, addDomains, beginRules, dropRules, isFirefox, setTabs, wallFor } from "./instant.js";

const HOST = "com.velmora.browser_host";
const PROTOCOL = 1;
const LONGEST_ADDRESS = 4096;
const LONGEST_TITLE = 256;
const LEAVING_MS = 1000; // after which an order that came to nothing may be repeated

// --- what is on screen ---

// Window id -> { tabId, address, news } of its active tab. `address` is the newest that is known,
// `news` counts what was told: an answer that took time is dropped if something newer went out
// meanwhile. `leaving` is the page from which we have just sent the tab away, until it is there or
// bound elsewhere. Every activation makes a new record, so the record itself tells one showing of a
// tab from the next.
let shown = new Map();

// The windows that Velmora sees on screen. What they show is, too: also a tab to which the user has
// just switched, before Velmora knows of it.
let onScreen = new Set();

function limitRulesToScreen() {
  setTabs([...onScreen].map((windowId) => shown.get(windowId)?.tabId).filter((id) => id !== undefined));
}

function show(windowId, tabId) {
  shown.set(windowId, newRecord(tabId));
  limitRulesToScreen();
}

const newRecord = (tabId) => ({ tabId, address: undefined, news: 0, leaving: undefined });

function windowShowing(tabId) {
  for (const [windowId, record] of shown) if (record.tabId === tabId) return windowId;
  return undefined;
}

function forget(windowId, tabId) {
  if (shown.get(windowId)?.tabId !== tabId) return;
  shown.delete(windowId);
  limitRulesToScreen();
}

// A tab that has not loaded anything yet has only the address it is on its way to.
const addressOf = (tab) => tab.url || tab.pendingUrl || "";

// Cut by length, and valid text even where the cut splits a character.
const cut = (text, length) => text.slice(0, length).toWellFormed();

// --- the link ---

const FIRST_PAUSE_MS = 250;
const LONGEST_PAUSE_MS = 10_000;

let port = null;
let introduced = false; // the application is there and knows who we are
let meetings = 0; // counts comings and goings of the application
let pauseMs = FIRST_PAUSE_MS;

function connect() {
  if (port) return;
  const opened = chrome.runtime.connectNative(HOST);
  const openedAt = Date.now();
  port = opened;
  opened.onMessage.addListener((message) => {
    if (opened === port) obey(message);
  });
  opened.onDisconnect.addListener(() => {
    void chrome.runtime.lastError; // read, so that the browser does not log it at every attempt
    port = null;
    meetApp(false);
    if (Date.now() - openedAt > LONGEST_PAUSE_MS) pauseMs = FIRST_PAUSE_MS;
    setTimeout(connect, pauseMs);
    pauseMs = Math.min(pauseMs * 2, LONGEST_PAUSE_MS);
  });
}

function send(message) {
  if (introduced) port.postMessage(message);
}

const commands = {
  app: ({ connected }) => meetApp(connected === true),
  list: ({ request }) => tellWindows(request),
  go,
  rules: beginRules,
  domains: addDomains,
  scope: ({ windows }) => {
    onScreen = new Set(windows);
    limitRulesToScreen();
  },
};

function obey(message) {
  if (Object.hasOwn(commands, message?.type)) commands[message.type](message);
}

function meetApp(there) {
  introduced = false;
  meetings++;
  onScreen = new Set();
  dropRules();
  if (there) introduce();
}

async function introduce() {
  const meeting = meetings;
  const [version, privateAllowed] = await Promise.all([
    browserVersion(),
    chrome.extension.isAllowedIncognitoAccess(),
  ]);
  if (meeting !== meetings) return;
  introduced = true;
  send({
    type: "hello",
    protocol: PROTOCOL,
    browser: isFirefox ? "firefox" : "chromium",
    version,
    extension: chrome.runtime.getManifest().version,
    privateAllowed,
  });
  await tellWindows();
}

async function browserVersion() {
  if (isFirefox) return (await chrome.runtime.getBrowserInfo()).version;
  return /Chrom(?:e|ium)\/([\d.]+)/.exec(navigator.userAgent)?.[1];
}

// --- the list of windows ---

const COALESCE_MS = 25;
let windowsDue = false;

// One list for a burst of events.
function tellWindowsSoon() {
  if (windowsDue || !introduced) return;
  windowsDue = true;
  setTimeout(() => {
    windowsDue = false;
    tellWindows();
  }, COALESCE_MS);
}

async function tellWindows(request) {
  const [windows, active] = await Promise.all([
    chrome.windows.getAll(),
    chrome.tabs.query({ active: true }),
  ]);
  const tabs = new Map(active.map((tab) => [tab.windowId, tab]));
  remember(windows, tabs);
  send({ type: "windows", request, windows: windows.map((w) => describe(w, tabs.get(w.id))) });
}

function remember(windows, tabs) {
  const former = shown;
  shown = new Map();
  for (const { id } of windows) {
    const tab = tabs.get(id);
    if (!tab) continue;
    const record = former.get(id)?.tabId === tab.id ? former.get(id) : newRecord(tab.id);
    shown.set(id, record);
    // While a tab loads, the page it is bound for stays the newest that is known of it.
    if (record.address === undefined || tab.status === "complete") record.address = addressOf(tab);
  }
  limitRulesToScreen();
}

function describe(window, tab) {
  return {
    id: window.id,
    kind: window.type,
    state: window.state,
    focused: window.focused,
    private: window.incognito,
    left: window.left,
    top: window.top,
    width: window.width,
    height: window.height,
    tab: tab
      ? { id: tab.id, address: cut(addressOf(tab), LONGEST_ADDRESS), title: cut(tab.title ?? "", LONGEST_TITLE) }
      : null,
  };
}

// --- news of one shown tab ---

function tell(tabId, address, why, title) {
  const windowId = windowShowing(tabId);
  if (windowId === undefined) return;
  const record = shown.get(windowId);
  record.address = address;
  record.news++;
  if ((why === "start") !== address.startsWith(BLOCK_PAGE)) record.leaving = undefined;
  send({
    type: "tab",
    windowId,
    tabId,
    address: cut(address, LONGEST_ADDRESS),
    title: title === undefined ? undefined : cut(title, LONGEST_TITLE),
    why,
  });
}

// Tells where the tab really is, unless it was hidden or newer news of it went out meanwhile.
async function tellAsItIs(tabId, why) {
  const windowId = windowShowing(tabId);
  const record = shown.get(windowId);
  if (!record) return;
  const { news } = record;
  const tab = await chrome.tabs.get(tabId).catch(() => null);
  if (!tab || shown.get(windowId) !== record || record.news !== news) return;
  tell(tabId, addressOf(tab), why, tab.title);
}

// Of the page itself, not of a frame in it, nor of a page the browser prepares unseen.
const concernsPage = ({ frameId, documentLifecycle }) => frameId === 0 && documentLifecycle !== "prerender";

function onNavigation(event, why) {
  event.addListener((details) => {
    if (concernsPage(details)) tell(details.tabId, details.url, why);
  });
}

// A forbidden page is never reached, so the tab is bound for the block page from the start. Where
// the browser does not see to it we do: it may not have heard yet that the tab is on screen.
chrome.webNavigation.onBeforeNavigate.addListener((details) => {
  if (!concernsPage(details)) return;
  const { tabId, url } = details;
  const wall = wallFor(tabId, url);
  tell(tabId, wall?.address ?? url, "start");
  if (wall && !wall.isBrowsers) chrome.tabs.update(tabId, { url: wall.address }).catch(() => {});
});

onNavigation(chrome.webNavigation.onCommitted, "commit");
onNavigation(chrome.webNavigation.onHistoryStateUpdated, "history");
onNavigation(chrome.webNavigation.onReferenceFragmentUpdated, "fragment");

// The address announced at the start was never reached.
chrome.webNavigation.onErrorOccurred.addListener((details) => {
  if (concernsPage(details)) tellAsItIs(details.tabId, "error");
});

chrome.tabs.onUpdated.addListener((tabId, { url, title }, tab) => {
  // Pages brought on by other means than a navigation of their own, such as prepared ones.
  if (url && shown.get(windowShowing(tabId))?.address !== url) tell(tabId, url, "commit");
  if (title !== undefined) tell(tabId, addressOf(tab), "title", title);
});

// --- windows and their active tabs ---

chrome.tabs.onActivated.addListener(({ tabId, windowId }) => {
  show(windowId, tabId);
  tellAsItIs(tabId, "activated");
  tellWindowsSoon();
});

// Before its activation is told, a tab may already be on its way.
chrome.tabs.onCreated.addListener((tab) => {
  if (tab.active) show(tab.windowId, tab.id);
});

chrome.tabs.onRemoved.addListener((tabId, { windowId }) => {
  forget(windowId, tabId);
  tellWindowsSoon();
});

chrome.tabs.onDetached.addListener((tabId, { oldWindowId }) => {
  forget(oldWindowId, tabId);
  tellWindowsSoon();
});

chrome.tabs.onReplaced?.addListener((addedId, removedId) => {
  const windowId = windowShowing(removedId);
  if (windowId !== undefined) show(windowId, addedId);
  tellWindowsSoon();
});

chrome.tabs.onAttached.addListener(tellWindowsSoon);
chrome.windows.onCreated.addListener(tellWindowsSoon);
chrome.windows.onRemoved.addListener(tellWindowsSoon);
chrome.windows.onFocusChanged.addListener(tellWindowsSoon);
chrome.windows.onBoundsChanged?.addListener(tellWindowsSoon); // not in Firefox

// --- sending a shown tab to the block page ---

// Obeys only for the block page, and only while the tab is still the one on screen and its newest
// page is the one that was judged, `from`: what the user has just turned away from stays as it is,
// and Velmora learns how things stand.
//
// A page that had its answer already still commits after we have sent its tab away, and is judged
// once more. The order that follows would only start the way to the block page again.
async function go({ windowId, tabId, address, from }) {
  if (typeof address !== "string" || !address.startsWith(BLOCK_PAGE)) return;
  const record = shown.get(windowId);
  try {
    if (record?.tabId !== tabId) throw new Error("no longer shown");
    const newest = cut(record.address ?? "", LONGEST_ADDRESS);
    if (from !== undefined && from !== newest) throw new Error("another page");
    if (record.leaving?.from === newest && Date.now() < record.leaving.until) return;
    record.leaving = { from: newest, until: Date.now() + LEAVING_MS };
    await chrome.tabs.update(tabId, { url: address });
  } catch {
    if (record) record.leaving = undefined;
    tellWindows();
  }
}

// --- staying there ---

// The open port keeps us running. Should the browser end us all the same, its next event or this
// alarm starts us again, and a start connects.
chrome.alarms.create("link", { periodInMinutes: 0.5 });
chrome.alarms.onAlarm.addListener(connect);
chrome.runtime.onStartup.addListener(connect);
chrome.runtime.onInstalled.addListener(connect);
dropRules();
connect();
