// The block page, run outside a browser: its functions directly, and the whole page in a small
// stand-in for the window with a clock that only moves when told.
// Run with: node --test tests/page/
import test from "node:test";
import assert from "node:assert/strict";
import fs from "node:fs";
import vm from "node:vm";

const source = fs.readFileSync(new URL("../../resources/BlockPage.html", import.meta.url), "utf8");
const script = source.match(/<script>([\s\S]*)<\/script>/)[1];

const NAMES = `readQuery, badgeFor, minutesLeft, contextLine, hintFor, shuffled, buildPool, quoteSize, geometry,
  rimLight, dustCount, makeMote, moteNow, headLight, clearOfWords, KINDS, TITLES, DISCIPLINE, FOCUS, TIME, SELF`;

function loadScript(globals) {
  const context = vm.createContext({ URLSearchParams, ...globals });
  vm.runInContext(script, context, { filename: "BlockPage.html" });
  return vm.runInContext(`({ ${NAMES} })`, context);
}

const page = loadScript({});
const plain = value => JSON.parse(JSON.stringify(value));
const spoken = sentences => sentences.map(s => s.map(p => typeof p === "string" ? p : p.bold).join("")).join(" ");
const boldParts = sentences => plain(sentences).flat().filter(p => typeof p !== "string").map(p => p.bold);

function seeded(seed) {
  return () => {
    seed = (seed * 1664525 + 1013904223) >>> 0;
    return seed / 4294967296;
  };
}

test("the reason and the allow-list flag accept only their exact words", () => {
  for (const r of ["focus", "budget", "porn", "scroll"]) assert.equal(page.readQuery("?r=" + r, 0).reason, r);
  for (const q of ["", "?r=", "?r=Budget", "?r=holiday", "?r=toString", "?r=__proto__"]) {
    assert.equal(page.readQuery(q, 0).reason, "focus", q);
  }
  assert.equal(page.readQuery("?a=1", 0).allowList, true);
  for (const q of ["", "?a=", "?a=0", "?a=true", "?a=01", "?a=1%20"]) assert.equal(page.readQuery(q, 0).allowList, false, q);
});

test("the domain keeps letters, digits, dots and hyphens, at most 80 of them", () => {
  const domain = q => page.readQuery(q, 0).domain;
  assert.equal(domain("?r=focus"), "");
  assert.equal(domain("?d=News-7.example.com"), "News-7.example.com");
  assert.equal(domain("?d=exa mple<b>.com"), "exampleb.com");
  assert.equal(domain("?d=%3Cimg%20src%3Dx%3A%2F%2Fe%26%22%27%3E"), "imgsrcxe");
  // The cut comes after the stripping, or markup could push the name out of sight.
  assert.equal(domain("?d=" + "_".repeat(100) + "b".repeat(100)), "b".repeat(80));
});

test("minutes are a decimal integer of at least one, counted from the load", () => {
  const minutes = q => (page.readQuery(q, 5000).opensAt - 5000) / 60000;
  assert.equal(minutes("?m=7"), 7);
  assert.equal(minutes("?m=010"), 10);
  for (const q of ["", "?m=", "?m=0", "?m=-3", "?m=abc", "?m=" + "9".repeat(400)]) assert.equal(minutes(q), 1, q);
});

test("each reason has its badge and its document title", () => {
  const seen = q => { const p = page.readQuery(q, 0); return [page.badgeFor(p), page.TITLES[p.reason]]; };
  assert.deepEqual(seen("?r=focus"), ["FOCUS SESSION", "Focus · Velmora"]);
  assert.deepEqual(seen("?r=focus&a=1"), ["BRAK MODE", "Focus · Velmora"]);
  assert.deepEqual(seen("?r=budget&a=1"), ["TIME BUDGET USED UP", "Budget used up · Velmora"]);
  assert.deepEqual(seen("?r=scroll"), ["SCROLL GUARD", "Scroll Guard · Velmora"]);
  assert.deepEqual(seen("?r=porn"), ["BRAK PORN", "Brak Porn"]);
});

test("the context line says what is closed and until when", () => {
  const cases = [
    ["?r=porn&d=a.b&m=9", "Close this tab. Keep the promise you made to yourself.", []],
    ["?r=budget&d=a.b&m=7", "a.b opens again in 7 min.", ["a.b", "7 min"]],
    ["?r=scroll&d=a.b&m=7", "a.b opens again in 7 min.", ["a.b", "7 min"]],
    ["?r=budget&m=7", "Back in 7 min.", ["7 min"]],
    ["?r=scroll", "Back in 1 min.", ["1 min"]],
    ["?r=focus&a=1", "Only your focus tools are open until the session ends.", []],
    ["?r=focus&a=1&d=a.b", "Only your focus tools are open until the session ends. a.b isn't one of them.", ["a.b"]],
    ["?r=focus&d=a.b", "a.b stays closed until your focus session ends.", ["a.b"]],
    ["?r=focus", "This site stays closed until your focus session ends.", []],
    ["?r=unheard-of&d=%3C%3E", "This site stays closed until your focus session ends.", []]
  ];
  for (const [query, text, bold] of cases) {
    const line = page.contextLine(page.readQuery(query, 0), 0);
    assert.equal(spoken(line), text, query);
    assert.deepEqual(boldParts(line), bold, query);
  }
});

test("the minutes left round up and never fall below one", () => {
  const p = page.readQuery("?r=budget&m=7", 1000);
  const at = ms => page.minutesLeft(p, 1000 + ms);
  assert.deepEqual([0, 1, 59999, 60000, 60001, 6 * 60000, 7 * 60000, 8 * 60000, 1e9].map(at), [7, 7, 7, 6, 6, 1, 1, 1, 1]);
});

test("the hint names the key that the keyboard has", () => {
  assert.equal(page.hintFor("MacIntel"), "⌘W CLOSES THIS TAB");
  assert.equal(page.hintFor("macOS"), "⌘W CLOSES THIS TAB");
  for (const platform of ["Linux x86_64", "Win32", ""]) assert.equal(page.hintFor(platform), "CTRL+W CLOSES THIS TAB");
});

test("the quote lists are complete, distinct and short enough for the smallest disc", () => {
  const lists = [[page.DISCIPLINE, 18], [page.FOCUS, 42], [page.TIME, 31], [page.SELF, 11]];
  const all = [];
  for (const [list, count] of lists) {
    assert.equal(list.length, count);
    all.push(...list);
  }
  assert.equal(new Set(all.map(q => q[0].toLowerCase().replace(/[^a-z]/g, ""))).size, 102);
  for (const [text, author] of all) {
    assert.ok(text.length <= 95, text);
    assert.match(text, /^[^\s“”"].*[.?!]$/);
    assert.equal(typeof author, "string");
    assert.doesNotMatch(author, /^[—-]|\s$/);
  }
  assert.ok(all.some(q => q[1] === "Velmora") && all.some(q => q[1] === ""));
});

test("each pool holds its lists in their order of parts, and opens as promised", () => {
  const ids = list => Array.from(list, q => q[0]).sort();
  const { DISCIPLINE, FOCUS, TIME, SELF } = page;
  const firsts = { focus: new Set(), budget: new Set(), scroll: new Set(), porn: new Set() };
  for (let seed = 1; seed <= 40; seed++) {
    const pool = reason => page.buildPool(reason, seeded(seed));
    const focus = pool("focus"), budget = pool("budget"), scroll = pool("scroll"), porn = pool("porn");
    assert.deepEqual([focus, budget, scroll, porn].map(p => p.length), [91, 91, 91, 22]);
    assert.deepEqual(ids(focus.slice(0, 73)), ids([...FOCUS, ...TIME]));
    assert.deepEqual(ids(focus.slice(73)), ids(DISCIPLINE));
    for (const p of [budget, scroll]) {
      assert.deepEqual(ids(p.slice(0, 31)), ids(TIME));
      assert.deepEqual(ids(p.slice(31)), ids([...DISCIPLINE, ...FOCUS]));
    }
    assert.deepEqual(ids(porn.slice(0, 11)), ids(SELF));
    assert.deepEqual(ids(porn.slice(11)), ids(DISCIPLINE.slice(0, 11)));
    for (const [reason, p] of Object.entries({ focus, budget, scroll, porn })) firsts[reason].add(p[0][0]);
  }
  assert.deepEqual([...firsts.porn], ["Not this time."]);
  assert.deepEqual([...firsts.scroll], ["The scroll is infinite. Your life is not."]);
  assert.ok(firsts.focus.size > 10 && firsts.budget.size > 10);
});

test("shuffling is fair and leaves its list alone", () => {
  const list = [0, 1, 2], random = seeded(7), counts = {};
  for (let i = 0; i < 6000; i++) {
    const key = page.shuffled(list, random).join("");
    counts[key] = (counts[key] || 0) + 1;
  }
  assert.deepEqual(list, [0, 1, 2]);
  assert.equal(Object.keys(counts).length, 6);
  for (const n of Object.values(counts)) assert.ok(n > 850 && n < 1150, JSON.stringify(counts));
});

test("a quote's size follows its length and the disc, between 16 and 36 pixels", () => {
  const D = 500; // 23 px before the factor
  assert.deepEqual([1, 30, 31, 60, 61, 90, 91, 400].map(n => page.quoteSize(n, D)), [32, 32, 26, 26, 22, 22, 20, 20]);
  assert.equal(page.quoteSize(10, 640), 36);
  assert.equal(page.quoteSize(200, 260), 16);
});

test("the disc follows the window within its bounds, and stays in reach", () => {
  assert.deepEqual(plain(page.geometry(1920, 1080)),
    { D: 640, R: 320, K: 640 / 384, RT: (640 - 40 * 640 / 384) / 2, cx: 960, cy: 486, footer: 486 + 320 + 50 });
  assert.equal(page.geometry(1280, 720).D, 0.64 * 720);
  assert.equal(page.geometry(480, 700).D, 0.82 * 480);
  const small = page.geometry(480, 320);
  assert.equal(small.D, 260);
  assert.equal(small.footer, 0.45 * 320 + 130 + 30);
  assert.equal(page.geometry(320, 180).cy, 130, "the top of the disc can be scrolled to");
});

test("the rim lights nothing on the disc, most just outside it, and less with distance", () => {
  assert.equal(page.rimLight(0), 0);
  assert.equal(page.rimLight(1), 0);
  assert.ok(Math.abs(page.rimLight(1.02) - 0.5 / (1 + (0.02 / 0.42) ** 2)) < 1e-9);
  assert.ok(Math.abs(page.rimLight(1.42) - 0.5) < 1e-9);
  assert.ok(Math.abs(page.rimLight(1.84) - 0.2) < 1e-9);
  for (let r = 1.05; r < 3; r += 0.05) assert.ok(page.rimLight(r) > page.rimLight(r + 0.05));
});

test("motes are born in their ring, fade in and out, and glint only in mid-life", () => {
  const random = seeded(3);
  assert.deepEqual(Object.fromEntries(page.KINDS.map(k => [k.name, [0.5, 1, 1.5].map(K => page.dustCount(k, K))])),
    { bokeh: [8, 10, 15], soft: [24, 30, 45], speck: [88, 110, 165] });
  for (const kind of page.KINDS) {
    let inner = 0, glints = 0;
    const middle = (kind.ring[0] + kind.ring[1]) / 2;
    for (let i = 0; i < 2000; i++) {
      const m = page.makeMote(kind, random), r = Math.hypot(m.x, m.y);
      assert.ok(r >= kind.ring[0] - 1e-9 && r <= kind.ring[1] + 1e-9);
      assert.ok(m.life >= kind.life[0] && m.life <= kind.life[1]);
      assert.ok(m.size >= kind.size[0] && m.size <= kind.size[1]);
      if (r < middle) inner++;
      for (const u of [0, 1]) { m.age = u * m.life; assert.ok(page.moteNow(m).opacity < 1e-9); }
      m.age = m.life / 2;
      const now = page.moteNow(m);
      assert.ok(now.opacity <= Math.max(m.light, now.glint + m.light) + 1e-9);
      if (m.glintAt >= 0) {
        glints++;
        assert.ok(m.glintAt >= 0.3 * m.life && m.glintAt <= 0.7 * m.life);
        m.age = m.glintAt;
        const at = page.moteNow(m).glint;
        m.age = m.glintAt + 0.31;
        assert.equal(page.moteNow(m).glint, 0);
        if (r > 1.1 && r < 1.3) assert.ok(at > 0.3);
      }
    }
    assert.ok(inner > 1200, "biased inwards");
    assert.ok(Math.abs(glints / 2000 - kind.glint) < 0.04);
  }
});

test("the head's light flickers a little around three quarters", () => {
  for (let t = 0; t < 60; t += 0.1) {
    const { strength, radius } = page.headLight(t);
    assert.ok(Math.abs(strength - 0.75) <= 0.14 && Math.abs(radius - 1) <= 0.055);
  }
  assert.ok(Math.abs(page.headLight(0).strength - (0.75 + 0.05 * Math.sin(1.3))) < 1e-12);
});

test("no dust is drawn over the words below the disc", () => {
  const box = { left: 100, right: 300, top: 500, bottom: 560 };
  assert.equal(page.clearOfWords(box, 200, 520), 0);
  assert.equal(page.clearOfWords(box, 330, 520), 1);
  const near = page.clearOfWords(box, 310, 520);
  assert.ok(near > 0 && near < 1);
});

// ---- The whole page ----

function openPage(query, { reduced = false, canvas = true, width = 1280, height = 720, platform = "Linux x86_64" } = {}) {
  let now = 1_700_000_000_000, nextId = 1;
  const begun = now, jobs = new Map(), frames = new Map(), listeners = {};
  const drawn = { orb: 0, dust: [] };

  const canvasContext = canvas => new Proxy({ canvas }, {
    get(target, key) {
      if (key in target) return target[key];
      if (key === "createImageData") return (w, h) => ({ data: new Uint8ClampedArray(w * h * 4) });
      if (/^create/.test(key)) return () => {
        if (canvas.id === "orb" && key === "createPattern") drawn.orb++;
        return { addColorStop() {} };
      };
      return (...args) => {
        if (canvas.id === "dust" && key === "clearRect") drawn.dust.push(now - begun);
        for (const a of args) if (typeof a === "number") assert.ok(Number.isFinite(a), key);
      };
    }
  });
  const element = (tag, id) => {
    const on = {};
    return {
      tag, id, nodes: [], style: {}, width: 0, height: 0,
      classList: { list: new Set(), add(c) { this.list.add(c); }, remove(c) { this.list.delete(c); } },
      set textContent(v) { this.nodes = [String(v)]; },
      get textContent() { return this.nodes.map(n => typeof n === "string" ? n : n.textContent).join(""); },
      set innerHTML(v) { throw new Error("markup must not be built from text"); },
      append(...n) { this.nodes.push(...n); },
      replaceChildren(...n) { this.nodes = n; this.replaced = (this.replaced || 0) + 1; },
      addEventListener(type, f) { on[type] = f; },
      click() { on.click(); },
      get clientWidth() { return win.innerWidth; },
      get clientHeight() { return win.innerHeight; },
      getBoundingClientRect: () => ({ left: 0, top: 0, right: 0, bottom: 0 }),
      getContext() { return canvas ? this.context ||= canvasContext(this) : null; }
    };
  };
  const ids = Object.fromEntries(["badge", "hint", "context", "quote", "text", "author", "stage", "orb", "dust", "home"]
    .map(id => [id, element("div", id)]));
  const add = (f, ms, every) => { jobs.set(nextId, { f, at: now + ms, every }); return nextId++; };
  const media = { matches: reduced, addEventListener(_, f) { this.changed = f; } };
  const doc = {
    hidden: false, title: "Velmora",
    getElementById: id => ids[id],
    createElement: tag => element(tag, ""),
    documentElement: { style: { setProperty() {} } },
    addEventListener(type, f) { listeners[type] = f; }
  };
  const win = {
    document: doc, location: { search: query }, navigator: { platform }, innerWidth: width, innerHeight: height, devicePixelRatio: 3,
    matchMedia: () => media,
    Date: class extends Date { static now() { return now; } },
    setTimeout: (f, ms) => add(f, ms, 0), setInterval: (f, ms) => add(f, ms, ms),
    clearTimeout: id => jobs.delete(id), clearInterval: id => jobs.delete(id),
    requestAnimationFrame: f => { frames.set(nextId, f); return nextId++; },
    cancelAnimationFrame: id => frames.delete(id),
    addEventListener(type, f) { listeners[type] = f; }
  };
  loadScript(win);
  return {
    ids, doc, drawn, media, win, listeners, frames,
    // Moves the clock, firing timers on time and screen refreshes every 8 ms while visible.
    advance(ms) {
      for (const end = now + ms; now < end;) {
        now = Math.min(end, now + 8);
        for (const [id, job] of [...jobs]) {
          if (job.at > now || !jobs.has(id)) continue;
          if (job.every) job.at += job.every; else jobs.delete(id);
          job.f();
        }
        if (!doc.hidden) for (const [id, f] of [...frames]) { frames.delete(id); f(now - begun); }
      }
    }
  };
}

test("the page fills its words in as text", () => {
  const p = openPage("?r=budget&d=%3Cb%3Evideo.example&m=7");
  assert.equal(p.doc.title, "Budget used up · Velmora");
  assert.equal(p.ids.badge.textContent, "TIME BUDGET USED UP");
  assert.equal(p.ids.context.textContent, "bvideo.example opens again in 7 min.");
  assert.deepEqual(p.ids.context.nodes[0].nodes.filter(n => n.tag === "b").map(n => n.textContent), ["bvideo.example", "7 min"]);
  assert.equal(p.ids.hint.textContent, "CTRL+W CLOSES THIS TAB");
  assert.equal(openPage("?r=focus&a=1&d=a.b").ids.context.textContent,
    "Only your focus tools are open until the session ends. a.b isn't one of them.");
});

test("the minutes fall as time passes, stay at one, and are announced only when they change", () => {
  const p = openPage("?r=budget&d=a.b&m=3", { canvas: false });
  const line = () => p.ids.context.textContent;
  p.advance(45_100);
  assert.equal(line(), "a.b opens again in 3 min.");
  assert.equal(p.ids.context.replaced, 1);
  p.advance(30_000);
  assert.equal(line(), "a.b opens again in 2 min.");
  p.advance(600_000);
  assert.equal(line(), "a.b opens again in 1 min.");
  assert.equal(p.ids.context.replaced, 3);
});

test("quotes take turns of 13 s, fading for 0.9 s, and a click restarts the turn", () => {
  const p = openPage("?r=porn", { canvas: false }); // the words need no picture
  const { text, author, quote } = p.ids;
  assert.equal(text.textContent, "“Not this time.”");
  assert.equal(author.textContent, "");
  assert.equal(text.style.fontSize, "30px");
  p.advance(13_100);
  assert.ok(quote.classList.list.has("away"));
  assert.equal(text.textContent, "“Not this time.”", "the old words stay until they have faded");
  p.advance(900);
  assert.ok(!quote.classList.list.has("away"));
  const second = text.textContent;
  assert.notEqual(second, "“Not this time.”");

  p.advance(8_000); // 22 s in; the next turn would have come at 26 s
  quote.click();
  assert.ok(quote.classList.list.has("away"));
  p.advance(1_000);
  const third = text.textContent;
  assert.notEqual(third, second);
  p.advance(11_000);
  assert.equal(text.textContent, third, "the click began a new turn");
  p.advance(2_000);
  assert.notEqual(text.textContent, third);

  const seen = new Set();
  for (let i = 0; i < 22; i++) { seen.add(text.textContent); p.advance(13_000); }
  assert.equal(seen.size, 22, "the whole pool comes round");
  assert.ok([...seen].includes("“Not this time.”"));
});

test("an author is introduced by a dash", () => {
  const p = openPage("?r=scroll");
  assert.equal(p.ids.text.textContent, "“The scroll is infinite. Your life is not.”");
  assert.equal(p.ids.author.textContent, "— Velmora");
});

test("frames keep their distance and stop while nobody can see them", () => {
  const p = openPage("?r=focus");
  p.advance(2_000);
  const { dust } = p.drawn;
  assert.ok(dust.length > 40);
  for (let i = 2; i < dust.length; i++) assert.ok(dust[i] - dust[i - 1] >= 33);
  p.doc.hidden = true;
  p.listeners.visibilitychange();
  const before = dust.length;
  assert.equal(p.frames.size, 0, "no frame is even asked for");
  p.advance(60_000);
  assert.equal(dust.length, before);
  p.doc.hidden = false;
  p.listeners.visibilitychange();
  p.advance(1_000);
  assert.ok(dust.length > before + 20);
});

test("the orb is drawn once per layout, on at most two pixels per point", () => {
  const p = openPage("?r=focus");
  p.advance(3_000);
  assert.equal(p.drawn.orb, 1);
  assert.deepEqual([p.ids.orb.width, p.ids.orb.height], [2560, 1440]);
  p.win.innerWidth = 480;
  for (let i = 0; i < 5; i++) p.listeners.resize();
  p.advance(100);
  assert.equal(p.drawn.orb, 2, "a burst of resizes is one layout");
  assert.equal(p.ids.orb.width, 960);
});

test("with reduced motion one picture stands still and words change at once", () => {
  const p = openPage("?r=porn", { reduced: true });
  assert.equal(p.drawn.dust.length, 1);
  p.advance(5_000);
  assert.equal(p.drawn.dust.length, 1);
  p.ids.quote.click();
  assert.notEqual(p.ids.text.textContent, "“Not this time.”");
  assert.ok(!p.ids.quote.classList.list.has("away"));
});

test("the file stands alone", () => {
  assert.ok(Buffer.byteLength(source) < 60_000);
  assert.equal([...source.matchAll(/%HOME_DOMAIN%/g)].length, 1);
  assert.match(source, /<a [^>]*href="https:\/\/%HOME_DOMAIN%\/\?ref=blockpage" target="_blank" rel="noopener"/);
  assert.match(source, /<title>Velmora<\/title>/);
  assert.match(source, />⌘W CLOSES THIS TAB</);
  assert.match(source, /<button id="quote" type="button" title="Next quote">/);
  const fetched = source.replace(/xmlns='[^']*'/g, "").match(/https?:\/\/[^\s"']+|\bsrc=|@import|url\(|\bfetch\(|XMLHttpRequest|sendBeacon|<link rel="(?!icon" href="data:)/g);
  assert.deepEqual(fetched, ["https://%HOME_DOMAIN%/?ref=blockpage"]);
  assert.doesNotMatch(source, /\son\w+=|innerHTML|insertAdjacentHTML|document\.write/);
});
