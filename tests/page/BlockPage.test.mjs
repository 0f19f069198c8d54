// The block page, run outside a browser: its functions directly, and the whole page in a small
// stand-in for the window with a clock that only moves when told.
// Run with: node --test tests/page/
import test from "node:test";
import assert from "node:assert/strict";
import fs from "node:fs";
import vm from "node:vm";

const source = fs.readFileSync(new URL("../../resources/BlockPage.html", import.meta.url), "utf8");
const script = source.match(/<script>([\s\S]*)<\/script>/)[1];
const names = "readQuery, badgeFor, contextLine, buildPool, TITLES, DISCIPLINE, FOCUS, TIME, SELF";
const loadScript = globals =>
  vm.runInNewContext(`${script}\n({ ${names} })`, { URLSearchParams, ...globals });
const page = loadScript({});
const spoken = pieces => pieces.map(p => typeof p === "string" ? p : p.bold).join("");

test("an address is read strictly, and gives the badge, the document title and the line", () => {
  const tools = "Only your focus tools are open until the session ends.";
  const focus = ["FOCUS SESSION", "Focus · Velmora"], allow = ["BRAK MODE", "Focus · Velmora"];
  const scroll = ["SCROLL GUARD", "Scroll Guard · Velmora"];
  const cases = [
    ["?r=toString&a=true", ...focus, "This site stays closed until your focus session ends."],
    ["?r=Budget&d=a.b", ...focus, "a.b stays closed until your focus session ends."],
    ["?r=focus&a=1", ...allow, tools],
    ["?r=focus&a=1&d=a.b", ...allow, tools + " a.b isn't one of them."],
    ["?r=budget&a=1&m=7", "TIME BUDGET USED UP", "Budget used up · Velmora", "Back in 7 min."],
    ["?r=scroll&m=" + "9".repeat(400), ...scroll, "Back in 1 min."],
    ["?r=scroll&d=%3Cimg%20src%3Dx%3A%2F%2Fe%22%3E", ...scroll, "imgsrcxe opens again in 1 min."],
    // The cut comes after the stripping, or markup could push the name out of sight.
    ["?r=scroll&m=x&d=" + "_".repeat(100) + "b".repeat(100), ...scroll,
      "b".repeat(80) + " opens again in 1 min."],
    ["?r=porn&d=a.b", "BRAK PORN", "Brak Porn",
      "Close this tab. Keep the promise you made to yourself."]
  ];
  for (const [query, ...wanted] of cases) {
    const read = page.readQuery(query, 0);
    const line = page.contextLine(read, 0).map(spoken).join(" ");
    assert.deepEqual([page.badgeFor(read), page.TITLES[read.reason], line], wanted, query);
  }
});

test("each pool holds its lists in their order of parts, shuffled, and opens as promised", () => {
  const { DISCIPLINE, FOCUS, TIME, SELF } = page;
  const texts = list => Array.from(list, ([text]) => text).sort();
  for (const [reason, first, second, opening] of [
    ["focus", [...FOCUS, ...TIME], DISCIPLINE],
    ["budget", TIME, [...DISCIPLINE, ...FOCUS]],
    ["scroll", TIME, [...DISCIPLINE, ...FOCUS], "The scroll is infinite. Your life is not."],
    ["porn", SELF, DISCIPLINE.slice(0, 11), "Not this time."]
  ]) {
    const made = Array.from({ length: 40 }, () => page.buildPool(reason, Math.random));
    for (const pool of made) {
      const parts = [pool.slice(0, first.length), pool.slice(first.length)];
      assert.deepEqual(parts.map(texts), [first, second].map(texts), reason);
    }
    const openings = [...new Set(made.map(pool => pool[0][0]))];
    assert.ok(opening ? openings.join() === opening : openings.length > 5, reason);
  }
});

// The whole page, on a canvas that takes whatever is drawn as long as its numbers are finite.
function openPage(query, { reduced = false, canvas = true } = {}) {
  const begun = 1_700_000_000_000, jobs = new Set(), listeners = {}, ids = {}, frames = [];
  let now = begun;
  const drawing = canvas => new Proxy({ canvas }, {
    get: (target, key) => target[key] ?? ((...args) => {
      if (canvas.id === "dust" && key === "clearRect") frames.push(now - begun);
      assert.ok(args.every(a => typeof a !== "number" || Number.isFinite(a)), key);
      return { addColorStop() {}, data: [] };
    })
  });
  const addEventListener = (type, f) => { listeners[type] = f; };
  const element = id => ({
    id, addEventListener, nodes: [], style: {}, replaced: 0, isAway: false,
    classList: { add() { ids.quote.isAway = true; }, remove() { ids.quote.isAway = false; } },
    set textContent(v) { this.nodes = [String(v)]; },
    get textContent() { return this.nodes.map(n => n.textContent ?? n).join(""); },
    append(...n) { this.nodes.push(...n); },
    replaceChildren(...n) { this.nodes = n; this.replaced++; },
    clientWidth: 1280, clientHeight: 720, getBoundingClientRect: () => ({}),
    getContext() { return canvas ? this.context ||= drawing(this) : null; }
  });
  const document = {
    documentElement: { style: { setProperty() {} } }, addEventListener, createElement: element,
    getElementById: id => ids[id] ||= element(id)
  };
  const later = (f, ms, every, job = { f, at: now + ms, every }) => (jobs.add(job), job);
  const cancel = job => jobs.delete(job);
  loadScript({
    document, addEventListener, location: { search: query }, navigator: { platform: "Linux" },
    innerWidth: 1280, innerHeight: 720, devicePixelRatio: 3,
    matchMedia: () => ({ matches: reduced, addEventListener() {} }),
    Date: class extends Date { static now() { return now; } },
    setTimeout: later, clearTimeout: cancel, clearInterval: cancel, cancelAnimationFrame: cancel,
    setInterval: (f, ms) => later(f, ms, ms), requestAnimationFrame: f => later(f, 8)
  });
  const next = () => [...jobs].sort((a, b) => a.at - b.at)[0];
  function advance(ms) {
    const end = now + ms;
    for (let job; (job = next())?.at <= end;) {
      now = job.at;
      if (job.every) job.at += job.every; else jobs.delete(job);
      job.f(now - begun);
    }
    now = end;
  }
  const show = visible => { document.hidden = !visible; listeners.visibilitychange(); };
  return { ids, document, frames, listeners, advance, show };
}

test("the page fills its words in as text, and announces the minutes only when they change", () => {
  const { ids, document, advance } = openPage("?r=budget&d=%3Cb%3Evideo.example&m=3");
  assert.equal(document.title, "Budget used up · Velmora");
  assert.equal(ids.hint.textContent, "CTRL+W CLOSES THIS TAB");
  for (const [seconds, minutes, replaced] of [[45.1, 3, 1], [30, 2, 2], [600, 1, 3]]) {
    advance(seconds * 1000);
    assert.equal(ids.context.textContent, `bvideo.example opens again in ${minutes} min.`);
    assert.equal(ids.context.replaced, replaced);
  }
});

test("quotes take turns of 13 s, fading for 0.9 s, and a click restarts the turn", () => {
  const { ids: { text, quote }, advance, listeners } = openPage("?r=porn", { canvas: false });
  const first = "“Not this time.”";
  advance(13_100);
  assert.deepEqual([quote.isAway, text.textContent], [true, first], "kept until it has faded");
  advance(8_900); // 22 s in; the next turn would come at 26 s
  listeners.click();
  advance(1_000);
  const third = text.textContent;
  advance(11_000);
  assert.deepEqual([quote.isAway, text.textContent], [false, third], "the click began a new turn");
  const seen = new Set();
  for (let i = 0; i < 22; i++) { advance(13_000); seen.add(text.textContent); }
  assert.ok(seen.size === 22 && seen.has(first), "the whole pool comes round");
});

test("frames keep their distance and stop while nobody can see them or wants movement", () => {
  const { frames, advance, show, ids } = openPage("?r=focus");
  assert.equal(ids.orb.width, 2560, "at most two pixels per point");
  advance(2_000);
  const before = frames.length;
  assert.ok(before > 40 && frames.every((at, i) => i < 2 || at - frames[i - 1] >= 33));
  show(false);
  advance(60_000);
  assert.equal(frames.length, before, "no frame is even asked for");
  show(true);
  advance(1_000);
  assert.ok(frames.length > before + 20);
  const calm = openPage("?r=porn", { reduced: true });
  calm.advance(5_000);
  assert.equal(calm.frames.length, 1);
});

test("the file stands alone", () => {
  assert.ok(Buffer.byteLength(source) < 60_000);
  const home = "https://%HOME_DOMAIN%/?ref=blockpage";
  assert.ok(source.includes(`href="${home}" target="_blank" rel="noopener"`));
  const outside = /https?:\/\/[^\s"']+|\bsrc=|@import|url\(|\bfetch\(|XMLHttpRequest|sendBeacon/g;
  assert.deepEqual(source.replace(/xmlns='[^']*'/g, "").match(outside), [home]);
  assert.doesNotMatch(source, /<link rel="(?!icon" href="data:)/);
  assert.doesNotMatch(source, /\son\w+=|innerHTML|insertAdjacentHTML|document\.write/);
});
