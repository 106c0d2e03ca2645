"use strict";
(() => {
  const screen = document.getElementById("screen");
  const idle = document.getElementById("idle");
  const hint = document.getElementById("hint");

  hint.setAttribute("role", "status");  // screen readers announce its changes

  screen.addEventListener("load", () => {
    screen.alt = "Shared screen";
    screen.classList.remove("down");
    idle.hidden = true;
  });

  function disconnected(reconnect) {
    screen.classList.add("down");
    idle.hidden = false;
    hint.textContent = hint.dataset.disconnected;
    setTimeout(() => reconnect("/stream?" + Date.now()), 2000);
  }

  // Browsers hold back the last part of a multipart image until the next one begins, and report
  // nothing when the stream breaks. So the parts are read here and each is shown in the same image;
  // an <img> alone is the fallback where a response cannot be read as it arrives.
  if (!("fetch" in window && "ReadableStream" in window && "body" in Response.prototype)) {
    screen.addEventListener("error", () => disconnected((url) => { screen.src = url; }));
    return;
  }

  const longestHead = 1024;  // bytes

  // Splits the stream into its parts by their Content-Length.
  class PartReader {
    constructor(body) {
      this.reader = body.getReader();
      this.rest = new Uint8Array(0);
    }

    async read() {
      const { done, value } = await this.reader.read();
      if (done) throw new Error("the stream ended");
      return value;
    }

    // Returns the head of the next part, up to its blank line.
    async head() {
      const decoder = new TextDecoder("latin1");
      for (;;) {
        // One read can return many parts: no more is examined than a head can take.
        const text = decoder.decode(this.rest.subarray(0, longestHead));
        const end = text.indexOf("\r\n\r\n");
        if (end >= 0) {
          this.rest = this.rest.subarray(end + 4);
          return text.slice(0, end);
        }
        if (text.length === longestHead) throw new Error("not a part");
        const more = await this.read();
        const joined = new Uint8Array(this.rest.length + more.length);
        joined.set(this.rest);
        joined.set(more, this.rest.length);
        this.rest = joined;
      }
    }

    async next() {
      const length = /^Content-Length: (\d+)$/m.exec(await this.head());
      if (!length) throw new Error("a part without a length");
      const pieces = [];
      let missing = Number(length[1]);
      while (missing > 0) {
        if (this.rest.length === 0) this.rest = await this.read();
        const piece = this.rest.subarray(0, missing);
        pieces.push(piece);
        missing -= piece.length;
        this.rest = this.rest.subarray(piece.length);
      }
      return new Blob(pieces, { type: "image/jpeg" });
    }
  }

  let request = null;     // of the current stream
  let shownURL = null;    // of the picture that is shown or loading
  let loading = false;
  let newestJPEG = null;  // arrived while the previous picture was loading

  // The stream is read as fast as it arrives and the newest picture shown as soon as the previous
  // one is loaded: a slow device skips pictures instead of falling behind.
  function offer(jpeg) {
    newestJPEG = jpeg;
    if (!loading) showNewest();
  }

  function showNewest() {
    const previousURL = shownURL;
    shownURL = URL.createObjectURL(newestJPEG);
    newestJPEG = null;
    loading = true;
    screen.src = shownURL;
    if (previousURL) URL.revokeObjectURL(previousURL);
  }

  function showNothing() {
    screen.removeAttribute("src");
    if (shownURL) URL.revokeObjectURL(shownURL);
    shownURL = newestJPEG = null;
    loading = false;
  }

  async function watch(url) {
    request = new AbortController();
    try {
      const response = await fetch(url, {
        headers: { Accept: "application/octet-stream" },
        cache: "no-store",
        signal: request.signal,
      });
      if (!response.ok) throw new Error("refused");
      const parts = new PartReader(response.body);
      for (;;) offer(await parts.next());
    } catch (ended) {
      request.abort();
      showNothing();
      disconnected(watch);
    }
  }

  screen.addEventListener("load", () => {
    loading = false;
    if (newestJPEG) showNewest();
  });
  screen.addEventListener("error", () => request.abort());

  // A connection made before the network went away can be dead without notice: while the screen is
  // still nothing is sent that could fail.
  addEventListener("online", () => request.abort());

  screen.classList.add("down");   // an image without a source is drawn as broken
  screen.removeAttribute("src");  // ends the request that the markup has started
  // WebKit keeps that request open anyway: without this every page uses two connections.
  if (navigator.vendor.startsWith("Apple")) {
    window.stop();
    const logo = document.getElementById("logo");
    // Its request was stopped as well, and the same element would not repeat it.
    if (logo) logo.replaceWith(logo.cloneNode());
  }
  watch("/stream");
})();
