'use strict';
// Brings the page up to date in place: what is the same stays the same node, so that focus and scroll position stay too.
(() => {
  const EVERY = 3000, PATIENCE = 10000; // milliseconds
  const STOPPED = 900; // seconds without an update of the daemon
  let etag = '', update = null, heard = new Date();

  const say = (text) => {
    const line = document.getElementById('live');
    if (line.textContent !== text) line.textContent = text;
  };

  const isSame = (a, b) => a.nodeName === b.nodeName && (a.id || '') === (b.id || '');

  function renewAttributes(now, wanted) {
    for (const { name } of [...now.attributes]) if (!wanted.hasAttribute(name)) now.removeAttribute(name);
    for (const { name, value } of wanted.attributes) if (now.getAttribute(name) !== value) now.setAttribute(name, value);
  }

  function renew(now, wanted) {
    if (now.nodeType !== Node.ELEMENT_NODE) {
      if (now.data !== wanted.data) now.data = wanted.data;
      return;
    }
    if (now.id === 'live') return;
    renewAttributes(now, wanted);
    let next = now.firstChild;
    for (const child of [...wanted.childNodes]) {
      let found = next;
      while (found && !isSame(found, child)) found = found.nextSibling;
      if (found && (found === next || child.id)) { // what lies between is gone
        while (next !== found) { const gone = next; next = next.nextSibling; gone.remove(); }
        renew(found, child);
        next = found.nextSibling;
      } else {
        now.insertBefore(document.importNode(child, true), next);
      }
    }
    while (next) { const gone = next; next = next.nextSibling; gone.remove(); }
  }

  async function redraw() {
    const answer = await fetch('/', { cache: 'no-store', signal: AbortSignal.timeout(PATIENCE) });
    const page = new DOMParser().parseFromString(await answer.text(), 'text/html');
    if (document.title !== page.title) document.title = page.title;
    renew(document.body, page.body);
  }

  function tellAge(now) {
    const age = update ? Math.floor(now / 1000) - update.time : 0;
    if (age > STOPPED) say(`The daemon's updates stopped ${Math.floor(age / 60)} minutes ago. What stands here is as old.`);
    else if (update && update.result > 1) say(`The daemon's last update failed: ${update.resultText}. What stands here is older.`);
    else say('');
  }

  async function look() {
    const answer = await fetch('/server.json', {
      cache: 'no-store', headers: etag ? { 'If-None-Match': etag } : {}, signal: AbortSignal.timeout(PATIENCE) });
    if (answer.status !== 304) {
      const server = await answer.json();
      await redraw();
      etag = answer.headers.get('ETag') || '';
      update = server.update || null;
    }
    heard = new Date();
    tellAge(Date.parse(answer.headers.get('Date')) || Date.now());
  }

  (async () => {
    for (;;) {
      try {
        await look();
      } catch (error) {
        etag = '';
        say(`The server of this page does not answer. What stands here is of ${heard.toLocaleTimeString()}.`);
      }
      await new Promise((resolve) => setTimeout(resolve, EVERY));
    }
  })();
})();
