// Rules that the browser itself enforces while Velmora is there: a page that they forbid is turned
// to the block page before it is asked for, in the tabs that are on screen and in no others. They
// are Velmora's rules, and last as long as our link to it.
//
// Session rules do the work. Redirects know nothing of tabs: one rule above them lets all tabs pass
// but those on screen, so that a change of tabs is a change of that one small rule.

export const BLOCK_PAGE = "http://127.0.0.1:52700/";

const MOST_RULES = 8;
const SCOPE_RULE = MOST_RULES + 1; // id and priority; the redirects count down from the one below
const LOCAL_RULE = SCOPE_RULE + 1;
const RULE_IDS = Array.from({ length: LOCAL_RULE }, (_, index) => index + 1);

// Chromium builds all session rules anew whenever one changes, while its windows stand still for
// some five milliseconds for each thousand domains. The pages of longer lists we turn away
// ourselves, as their navigation begins.
const MOST_DOMAINS_CHROMIUM = 5000;
export const isFirefox = typeof chrome.runtime.getBrowserInfo === "function";
const MOST_DOMAINS = isFirefox ? Infinity : MOST_DOMAINS_CHROMIUM;

// The whole of a web address, and in it the host as the lists have it: without user, a leading
// "www.", dots at its end, and port.
const HOST = String.raw`^https?://(?:[^/?#@]*@)?(?:www\.)?([^/?#:@\[]*[^/?#:@\[.])\.*(?:[:/?#].*)?$`;
const host = new RegExp(HOST);

const LOOPBACK = "127.0.0.1";
const LOCALHOST = "localhost"; // alone: what is below it is judged
const LOCALHOST_ADDRESS = String.raw`^https?://(?:[^/?#@]*@)?(?:www\.)?localhost\.*(?:[:/?#].*)?$`;
const UNNAMED = "porn"; // a reason that keeps the page's address to itself

let rules = []; // { reason, allowlist, domains, isBrowsers }, the first that forbids a page decides
let exempt = new Set();
let tabs = []; // those on screen, rising
let arriving = null; // the rules and exemptions of which more is to come
let changes = 0; // counts what we asked of the browser
let enforced = new Set(); // tabs for which the browser is known to have the rules in force
let mayRedirect = false; // the user can take this right from us at any time

// --- what Velmora tells ---

export function beginRules({ rules: told, exempt: domains, last }) {
  const fresh = told.slice(0, MOST_RULES).map((rule) => ({ ...rule, domains: new Set() }));
  arriving = { rules: fresh, exempt: new Set([LOOPBACK, ...domains]) };
  if (last) finishRules();
}

export function addDomains({ rule, domains, last }) {
  const known = arriving?.rules[rule]?.domains;
  if (known) for (const domain of domains) known.add(domain);
  if (arriving && last) finishRules();
}

function finishRules() {
  ({ rules, exempt } = arriving);
  arriving = null;
  handOver();
}

function handOver() {
  let room = MOST_DOMAINS;
  for (const rule of rules) {
    const { size } = rule.domains;
    rule.isBrowsers = mayRedirect && size <= room && (rule.allowlist || size > 0);
    if (rule.isBrowsers) room -= size;
  }
  enforced = new Set();
  const redirects = rules
    .map((rule, index) => rule.isBrowsers && redirectOf(rule, MOST_RULES - index))
    .filter(Boolean);
  change(RULE_IDS, redirects.length ? [localRule(), scopeRule(), ...redirects] : []);
}

// The tabs on screen, whenever they may have changed.
export function setTabs(onScreen) {
  const sorted = onScreen.toSorted((a, b) => a - b);
  if (sorted.join() === tabs.join()) return;
  tabs = sorted;
  enforced = new Set(tabs.filter((tab) => enforced.has(tab)));
  if (rules.some((rule) => rule.isBrowsers)) change([SCOPE_RULE], [scopeRule()]);
}

// Also at our own start, for the browser keeps the rules of a background that it has ended.
export function dropRules() {
  rules = [];
  arriving = null;
  tabs = [];
  enforced = new Set();
  change(RULE_IDS, []);
}

// --- judging ---

// The block page for an address that the rules forbid in this tab.
export function wallFor(tabId, address) {
  if (!tabs.includes(tabId)) return undefined;
  const name = host.exec(address)?.[1];
  if (name === undefined || name === LOCALHOST || isAmong(name, exempt)) return undefined;
  const rule = rules.find(({ allowlist, domains }) => isAmong(name, domains) !== allowlist);
  const isBrowsers = rule?.isBrowsers && enforced.has(tabId);
  return rule && { address: wallOf(rule, name), isBrowsers };
}

// A domain's subdomains are meant as well.
function isAmong(name, domains) {
  for (let rest = name; ; ) {
    if (domains.has(rest)) return true;
    const dot = rest.indexOf(".");
    if (dot < 0) return false;
    rest = rest.slice(dot + 1);
  }
}

const wallOf = ({ reason, allowlist }, name) =>
  `${BLOCK_PAGE}?r=${reason}${reason === UNNAMED ? "" : `&d=${name}`}${allowlist ? "&a=1" : ""}`;

// --- the browser's rules ---

async function learnRights() {
  const { host_permissions: origins } = chrome.runtime.getManifest();
  mayRedirect = await chrome.permissions.contains({ origins });
  if (rules.length > 0) handOver();
}

chrome.permissions.onAdded.addListener(learnRights);
chrome.permissions.onRemoved.addListener(learnRights);
learnRights();

function change(removeRuleIds, addRules) {
  const number = ++changes;
  const scope = tabs;
  chrome.declarativeNetRequest.updateSessionRules({ removeRuleIds, addRules }).then(
    () => {
      if (number === changes && rules.length > 0) enforced = new Set(scope);
    },
    (error) => {
      // Whatever it still has is out of date. Without rules there we turn pages away ourselves.
      console.warn("The browser takes no rules.", error);
      for (const rule of rules) rule.isBrowsers = false;
      if (addRules.length > 0) change(RULE_IDS, []);
    },
  );
}

function scopeRule() {
  return {
    id: SCOPE_RULE,
    priority: SCOPE_RULE,
    action: { type: "allow" },
    condition: { resourceTypes: ["main_frame"], excludedTabIds: tabs },
  };
}

function localRule() {
  return {
    id: LOCAL_RULE,
    priority: LOCAL_RULE,
    action: { type: "allow" },
    condition: { regexFilter: LOCALHOST_ADDRESS, resourceTypes: ["main_frame"] },
  };
}

function redirectOf(rule, id) {
  const exceptions = [...exempt].filter(isCanonical);
  const domains = [...rule.domains].filter(isCanonical);
  return {
    id,
    priority: id,
    action: { type: "redirect", redirect: { regexSubstitution: wallOf(rule, "\\1") } },
    condition: {
      regexFilter: HOST,
      resourceTypes: ["main_frame"],
      ...(rule.allowlist
        ? { excludedRequestDomains: [...domains, ...exceptions] }
        : { requestDomains: domains, excludedRequestDomains: exceptions }),
    },
  };
}

// What no address can hold no rule may name: one such domain would cost us all rules.
function isCanonical(domain) {
  const address = `http://${domain}/`;
  return /^[a-z0-9._-]+$/.test(domain) && URL.canParse(address) && new URL(address).hostname === domain;
}
