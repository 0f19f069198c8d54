// The block page, run outside a browser: its functions directly, and the whole page in a small
// stand-in for the window with a clock that only moves when told.
// Run with: node --test tests/page/
import test from "node:test";
import assert from "node:assert/strict";
import fs from "node:fs";
import vm from "node:vm";

const source = fs.readFileSync(new URL("../../resources/BlockPage.html", import.meta.url), "utf8");
const script = source.match(/<script>([\s\S]*)<\/script>/)[1];

const NAMES = `readQuery, badgeFor, contextLine, hintFor, buildPool, quoteSize, geometry, TITLES, DISCIPLINE, FOCUS, TIME, SELF`;

function loadScript(globals) {
  const context = vm.createContext({ URLSearchParams, ...globals });
  vm.runInContext(script, context, { filename: "BlockPage.html" });
  return vm.runInContext(`({ ${NAMES} })`, context);
}

const page = loadScript({});
const spoken = sentences => sentences.map(s => s.map(p => typeof p === "string" ? p : p.bold).join("")).join(" ");

function seeded(seed) {
  return () => {
    seed = (seed * 1664525 + 1013904223) >>> 0;
    return seed / 4294967296;
  };
}

test("each part of the query accepts only its exact words", () => {
  const cases = {
    reason: [["", "focus"], ["?r=scroll", "scroll"], ["?r=Budget", "focus"], ["?r=toString", "focus"], ["?r=__proto__", "focus"]],
    allowList: [["", false], ["?a=1", true], ["?a=0", false], ["?a=true", false], ["?a=01", false], ["?a=1%20", false]],
    domain: [["", ""], ["?d=News-7.example.com", "News-7.example.com"],
      ["?d=%3Cimg%20src%3Dx%3A%2F%2Fe%26%22%27%3E", "imgsrcxe"],
      // The cut comes after the stripping, or markup could push the name out of sight.
      ["?d=" + "_".repeat(100) + "b".repeat(100), "b".repeat(80)]],
    opensAt: [["?m=7", 7], ["?m=010", 10], ["", 1], ["?m=0", 1], ["?m=-3", 1], ["?m=abc", 1], ["?m=" + "9".repeat(400), 1]]
      .map(([query, minutes]) => [query, 5000 + minutes * 60000])
  };
  for (const [part, pairs] of Object.entries(cases))
    for (const [query, wanted] of pairs) assert.equal(page.readQuery(query, 5000)[part], wanted, query);
});

test("each reason has its badge, its document title and its context line", () => {
  const tools = "Only your focus tools are open until the session ends.";
  const cases = [
    ["?r=focus", "FOCUS SESSION", "Focus · Velmora", "This site stays closed until your focus session ends."],
    ["?r=focus&d=a.b", "FOCUS SESSION", "Focus · Velmora", "a.b stays closed until your focus session ends."],
    ["?r=focus&a=1", "BRAK MODE", "Focus · Velmora", tools],
    ["?r=focus&a=1&d=a.b", "BRAK MODE", "Focus · Velmora", tools + " a.b isn't one of them."],
    ["?r=budget&a=1&m=7", "TIME BUDGET USED UP", "Budget used up · Velmora", "Back in 7 min."],
    ["?r=scroll&d=a.b&m=7", "SCROLL GUARD", "Scroll Guard · Velmora", "a.b opens again in 7 min."],
    ["?r=porn&d=a.b&m=9", "BRAK PORN", "Brak Porn", "Close this tab. Keep the promise you made to yourself."]
  ];
  for (const [query, ...wanted] of cases) {
    const read = page.readQuery(query, 0);
    assert.deepEqual([page.badgeFor(read), page.TITLES[read.reason], spoken(page.contextLine(read, 0))], wanted, query);
  }
});

test("each pool holds its lists in their order of parts, shuffled, and opens as promised", () => {
  const { DISCIPLINE, FOCUS, TIME, SELF } = page;
  const texts = list => Array.from(list, q => q[0]).sort();
  const all = [...DISCIPLINE, ...FOCUS, ...TIME, ...SELF].map(([text]) => text);
  assert.equal(new Set(all).size, 102);
  assert.ok(all.every(text => text.length <= 95), "each fits the smallest disc");
  const pools = [
    ["focus", [...FOCUS, ...TIME], DISCIPLINE],
    ["budget", TIME, [...DISCIPLINE, ...FOCUS]],
    ["scroll", TIME, [...DISCIPLINE, ...FOCUS], "The scroll is infinite. Your life is not."],
    ["porn", SELF, DISCIPLINE.slice(0, 11), "Not this time."]
  ];
  for (const [reason, first, second, opening] of pools) {
    const made = Array.from({ length: 40 }, (_, seed) => page.buildPool(reason, seeded(seed)));
    for (const pool of made) {
      assert.deepEqual(texts(pool.slice(0, first.length)), texts(first), reason);
      assert.deepEqual(texts(pool.slice(first.length)), texts(second), reason);
    }
    const openings = new Set(made.map(pool => pool[0][0]));
    assert.ok(opening ? openings.size === 1 && openings.has(opening) : openings.size > 10, reason);
  }
});

test("the disc and its quote follow the window within their bounds, and stay in reach", () => {
  const sizes = [[1920, 1080], [1280, 720], [480, 700], [480, 320]].map(([w, h]) => page.geometry(w, h));
  assert.deepEqual(sizes.map(g => g.D), [640, 0.64 * 720, 0.82 * 480, 260]);
  assert.equal(sizes[3].footer, 0.45 * 320 + 130 + 30);
  assert.equal(page.geometry(320, 180).cy, 130, "the top of the disc can be scrolled to");
  assert.deepEqual([30, 31, 60, 61, 90, 91].map(n => page.quoteSize(n, 500)), [32, 26, 26, 22, 22, 20]);
  assert.deepEqual([page.quoteSize(10, 640), page.quoteSize(200, 260)], [36, 16]);
});

// ---- The whole page ----

function openPage(query, { reduced = false, canvas = true } = {}) {
  const begun = 1_700_000_000_000, jobs = new Map(), listeners = {}, ids = {}, drawn = { orb: 0, dust: [] };
  let now = begun, nextId = 1;

  const drawing = canvas => new Proxy({ canvas }, {
    get(target, key) {
      if (key in target) return target[key];
      if (key === "createImageData") return (w, h) => ({ data: new Uint8ClampedArray(w * h * 4) });
      if (canvas.id === "orb" && key === "createPattern") drawn.orb++;
      if (canvas.id === "dust" && key === "clearRect") drawn.dust.push(now - begun);
      return (...args) => {
        for (const a of args) if (typeof a === "number") assert.ok(Number.isFinite(a), key);
        return { addColorStop() {} };
      };
    }
  });
  const listen = (type, f) => { listeners[type] = f; };
  const element = id => {
    const classes = new Set();
    return {
      id, classes, nodes: [], style: {}, replaced: 0,
      classList: { add: name => classes.add(name), remove: name => classes.delete(name) },
      set textContent(v) { this.nodes = [String(v)]; },
      get textContent() { return this.nodes.map(n => typeof n === "string" ? n : n.textContent).join(""); },
      append(...n) { this.nodes.push(...n); },
      replaceChildren(...n) { this.nodes = n; this.replaced++; },
      addEventListener: listen,
      get clientWidth() { return win.innerWidth; },
      clientHeight: 720,
      getBoundingClientRect: () => ({}),
      getContext() { return canvas ? this.context ||= drawing(this) : null; }
    };
  };
  const doc = {
    title: "Velmora", documentElement: { style: { setProperty() {} } }, addEventListener: listen,
    getElementById: id => ids[id] ||= element(id), createElement: element
  };
  const schedule = (f, ms, every = 0) => { jobs.set(nextId, { id: nextId, f, at: now + ms, every }); return nextId++; };
  const cancel = id => jobs.delete(id);
  const win = {
    document: doc, location: { search: query }, navigator: { platform: "Linux x86_64" },
    innerWidth: 1280, innerHeight: 720, devicePixelRatio: 3, addEventListener: listen,
    matchMedia: () => ({ matches: reduced, addEventListener() {} }),
    Date: class extends Date { static now() { return now; } },
    setTimeout: schedule, clearTimeout: cancel, setInterval: (f, ms) => schedule(f, ms, ms), clearInterval: cancel,
    requestAnimationFrame: f => schedule(f, 8), cancelAnimationFrame: cancel
  };
  loadScript(win);
  return {
    ids, doc, drawn, win, listeners,
    show(visible) { doc.hidden = !visible; listeners.visibilitychange(); },
    advance(ms) {
      const due = end => [...jobs.values()].filter(job => job.at <= end).sort((a, b) => a.at - b.at)[0];
      const end = now + ms;
      for (let job; (job = due(end));) {
        now = job.at;
        if (job.every) job.at += job.every; else jobs.delete(job.id);
        job.f(now - begun);
      }
      now = end;
    }
  };
}

test("the page fills its words in as text", () => {
  const { ids, doc } = openPage("?r=budget&d=%3Cb%3Evideo.example&m=7");
  assert.equal(doc.title, "Budget used up · Velmora");
  assert.equal(ids.badge.textContent, "TIME BUDGET USED UP");
  assert.equal(ids.context.textContent, "bvideo.example opens again in 7 min.");
  assert.equal(ids.hint.textContent, "CTRL+W CLOSES THIS TAB");
  assert.equal(openPage("?r=scroll").ids.author.textContent, "— Velmora");
  assert.equal(page.hintFor("MacIntel"), "⌘W CLOSES THIS TAB");
});

test("the minutes fall as time passes, stay at one, and are announced only when they change", () => {
  const { ids, advance } = openPage("?r=budget&m=3", { canvas: false });
  for (const [seconds, minutes, replaced] of [[45.1, 3, 1], [30, 2, 2], [600, 1, 3]]) {
    advance(seconds * 1000);
    assert.equal(ids.context.textContent, `Back in ${minutes} min.`);
    assert.equal(ids.context.replaced, replaced);
  }
});

test("quotes take turns of 13 s, fading for 0.9 s, and a click restarts the turn", () => {
  const { ids: { text, quote }, advance, listeners } = openPage("?r=porn", { canvas: false }); // the words need no picture
  const first = "“Not this time.”";
  const isAway = () => quote.classes.has("away");
  assert.equal(text.textContent, first);
  advance(13_100);
  assert.deepEqual([isAway(), text.textContent], [true, first], "the old words stay until they have faded");
  advance(900);
  const second = text.textContent;
  assert.ok(!isAway() && second !== first);

  advance(8_000); // 22 s in; the next turn would have come at 26 s
  listeners.click();
  advance(1_000);
  const third = text.textContent;
  assert.notEqual(third, second);
  advance(11_000);
  assert.equal(text.textContent, third, "the click began a new turn");

  const seen = new Set();
  for (let i = 0; i < 22; i++) { advance(13_000); seen.add(text.textContent); }
  assert.ok(seen.size === 22 && seen.has(first), "the whole pool comes round");
});

test("frames keep their distance and stop while nobody can see them", () => {
  const p = openPage("?r=focus");
  p.advance(2_000);
  const { dust } = p.drawn, before = dust.length;
  assert.ok(before > 40);
  for (let i = 2; i < before; i++) assert.ok(dust[i] - dust[i - 1] >= 33);
  p.show(false);
  p.advance(60_000);
  assert.equal(dust.length, before, "no frame is even asked for");
  p.show(true);
  p.advance(1_000);
  assert.ok(dust.length > before + 20);
});

test("the orb is drawn once per layout, on at most two pixels per point", () => {
  const { ids: { orb }, drawn, win, listeners, advance } = openPage("?r=focus");
  advance(3_000);
  assert.deepEqual([drawn.orb, orb.width, orb.height], [1, 2560, 1440]);
  win.innerWidth = 480;
  for (let i = 0; i < 5; i++) listeners.resize();
  advance(100);
  assert.deepEqual([drawn.orb, orb.width], [2, 960], "a burst of resizes is one layout");
});

test("with reduced motion one picture stands still and words change at once", () => {
  const { ids, drawn, advance, listeners } = openPage("?r=porn", { reduced: true });
  advance(5_000);
  assert.equal(drawn.dust.length, 1);
  listeners.click();
  assert.notEqual(ids.text.textContent, "“Not this time.”");
  assert.ok(!ids.quote.classes.has("away"));
});

test("the file stands alone", () => {
  assert.ok(Buffer.byteLength(source) < 60_000);
  assert.match(source, /<a [^>]*href="https:\/\/%HOME_DOMAIN%\/\?ref=blockpage" target="_blank" rel="noopener"/);
  const fetched = source.replace(/xmlns='[^']*'/g, "").match(/https?:\/\/[^\s"']+|\bsrc=|@import|url\(|\bfetch\(|XMLHttpRequest|sendBeacon|<link rel="(?!icon" href="data:)/g);
  assert.deepEqual(fetched, ["https://%HOME_DOMAIN%/?ref=blockpage"]);
  assert.doesNotMatch(source, /\son\w+=|innerHTML|insertAdjacentHTML|document\.write/);
});
