"use strict";

// Reads the stream and paints it into a canvas. Runs in a worker where the browser can paint there,
// else in the page.

const tilesType = "application/x-tarvinel-tiles";
const tileWidth = 128;     // pixels
const tileHeight = 16;     // pixels
const longestHead = 1024;  // bytes of a part's head

// iOS leaves larger canvases blank without an error.
const largestCanvas = 16777216;  // pixels

// The stream ended or does not continue where the picture stands: a new one is to be requested. Any
// other error means that this browser cannot paint.
class StreamEnded extends Error {}

// Splits the stream into its parts by their Content-Length.
class PartReader {
  constructor(body) {
    this.reader = body.getReader();
    this.rest = new Uint8Array(0);
  }

  async read() {
    const { done, value } = await this.reader.read().catch((error) => {
      throw new StreamEnded(error.message);
    });
    if (done) throw new StreamEnded("the stream ended");
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
      if (text.length === longestHead) throw new StreamEnded("not a part");
      const more = await this.read();
      const joined = new Uint8Array(this.rest.length + more.length);
      joined.set(this.rest);
      joined.set(more, this.rest.length);
      this.rest = joined;
    }
  }

  // Returns the body of the next part as a Blob of its type.
  async next() {
    const head = await this.head();
    const length = /^Content-Length: (\d+)$/m.exec(head);
    const type = /^Content-Type: (\S+)$/m.exec(head);
    if (!length || !type) throw new StreamEnded("a part without a length or a type");
    const pieces = [];
    let missing = Number(length[1]);
    while (missing > 0) {
      if (this.rest.length === 0) this.rest = await this.read();
      const piece = this.rest.subarray(0, missing);
      pieces.push(piece);
      missing -= piece.length;
      this.rest = this.rest.subarray(piece.length);
    }
    return new Blob(pieces, { type: type[1] });
  }
}

// Requests the stream and hands each part to `take`, one after the other. Throws what `take` throws,
// or StreamEnded.
async function readStream(url, type, signal, take) {
  const request = { headers: { Accept: type }, cache: "no-store", signal };
  const response = await fetch(url, request).catch((error) => {
    throw new StreamEnded(error.message);
  });
  if (!response.ok) throw new StreamEnded("rejected");
  const parts = new PartReader(response.body);
  for (;;) await take(await parts.next());
}

// Reads the numbers of an update. Throws RangeError if it is shorter than it says.
class UpdateReader {
  constructor(buffer) {
    this.view = new DataView(buffer);
    this.at = 0;
  }

  take(count) {
    const from = this.at;
    if (count > this.view.byteLength - from) throw new RangeError("an update is too short");
    this.at += count;
    return from;
  }

  u8() { return this.view.getUint8(this.take(1)); }
  u16() { return this.view.getUint16(this.take(2)); }
  u32() { return this.view.getUint32(this.take(4)); }
  bytes(count) { return new Uint8Array(this.view.buffer, this.take(count), count); }

  // Returns a number in groups of seven bits, the lowest first.
  groups() {
    let number = 0;
    for (let shift = 0; shift < 28; shift += 7) {
      const group = this.u8();
      number += (group & 0x7F) << shift;
      if (group < 0x80) return number;
    }
    throw new RangeError("a number is too long");
  }

  // Returns where content arrives and where it was.
  move(width, height) {
    const [x, y, w, h, fromY] = [this.u16(), this.u16(), this.u16(), this.u16(), this.u16()];
    const isInside = x + w <= width && y + h <= height && fromY + h <= height;
    if (!isInside || w === 0 || h === 0) throw new RangeError("no such area");
    return { x, y, width: w, height: h, fromY };
  }

  // Returns the stacks of tiles: their indices in a grid of `count` tiles, and the data of their JPEG
  // picture behind its head.
  stack(count) {
    const quality = this.u8();
    const indices = [];
    let index = 0;
    for (let left = this.u16(); left > 0; --left) {
      index += this.groups();
      if (index >= count) throw new RangeError("no such tile");
      indices.push(index);
    }
    if (quality > 1 || indices.length === 0) throw new RangeError("not a stack");
    return { quality, indices, data: this.bytes(this.u32()) };
  }
}

// Reads an update as a whole. Throws RangeError if it is not one.
function parseUpdate(buffer) {
  const reader = new UpdateReader(buffer);
  const update = {
    from: reader.u32(), to: reader.u32(), width: reader.u16(), height: reader.u16(),
    moves: [], stacks: [],
  };
  const { width, height } = update;
  if (width === 0 || height === 0) throw new RangeError("an empty picture");
  if (update.from === 0) {
    update.heads = [reader.bytes(reader.u16()), reader.bytes(reader.u16())];
  } else {
    for (let left = reader.groups(); left > 0; --left) update.moves.push(reader.move(width, height));
  }
  const tiles = Math.ceil(width / tileWidth) * Math.ceil(height / tileHeight);
  for (let left = reader.u8(); left > 0; --left) update.stacks.push(reader.stack(tiles));
  if (reader.at !== buffer.byteLength) throw new RangeError("an update is too long");
  return update;
}

// Returns the head of a JPEG picture with its height multiplied (ITU-T T.81, B.2.2).
function headOfHeight(head, factor) {
  const copy = head.slice();
  const view = new DataView(copy.buffer);
  let at = 2;
  while (view.getUint16(at) !== 0xFFC0) at += 2 + view.getUint16(at + 2);
  view.setUint16(at + 5, view.getUint16(at + 5) * factor);
  return copy;
}

const endOfImage = new Uint8Array([0xFF, 0xD9]);

class Painter {
  constructor(canvas, options) {
    this.canvas = canvas;
    this.options = options;
    this.context = null;
    this.heads = null;
    this.version = 0;  // 0: no tiles
  }

  // Paints one part of the stream.
  async paint(part) {
    if (part.type === tilesType) {
      await this.paintUpdate(parseUpdate(await part.arrayBuffer()));
    } else {
      await this.paintPicture(part);
    }
  }

  async paintPicture(jpeg) {
    const picture = await createImageBitmap(jpeg);
    this.fit(picture.width, picture.height);
    this.context.drawImage(picture, 0, 0);
    picture.close();
    this.version = 0;
  }

  // Copies and decodes everything before anything is painted: what is seen is always one picture.
  async paintUpdate(update) {
    if (update.from !== 0 && update.from !== this.version) throw new StreamEnded("another version");
    if (update.heads) this.heads = update.heads;
    const [copies, pictures] = await Promise.all([
      Promise.all(update.moves.map((move) => this.copied(move))),
      Promise.all(update.stacks.map((stack) => this.decoded(stack))),
    ]);
    this.fit(update.width, update.height);
    update.moves.forEach((move, i) => this.paintCopy(move, copies[i]));
    update.stacks.forEach((stack, i) => this.paintStack(stack.indices, pictures[i]));
    this.version = update.to;
  }

  decoded(stack) {
    const head = headOfHeight(this.heads[stack.quality], stack.indices.length);
    return createImageBitmap(new Blob([head, stack.data, endOfImage], { type: "image/jpeg" }));
  }

  copied(move) {
    return createImageBitmap(this.canvas, move.x, move.fromY, move.width, move.height);
  }

  paintCopy(move, picture) {
    this.context.drawImage(picture, move.x, move.y);
    picture.close();
  }

  // The tiles are below each other in the picture, perhaps at half their size.
  paintStack(indices, picture) {
    const columns = Math.ceil(this.canvas.width / tileWidth);
    const height = picture.height / indices.length;
    indices.forEach((index, i) => {
      this.context.drawImage(picture, 0, i * height, picture.width, height,
        index % columns * tileWidth, Math.floor(index / columns) * tileHeight,
        tileWidth, tileHeight);
    });
    picture.close();
  }

  fit(width, height) {
    if (width * height > largestCanvas) throw new Error("too large for a canvas");
    if (!this.context) this.context = this.canvas.getContext("2d", this.options);
    if (!this.context) throw new Error("no canvas");
    if (this.canvas.width === width && this.canvas.height === height) return;
    this.canvas.width = width;
    this.canvas.height = height;
  }
}

const longestWait = 250;  // milliseconds; nothing is displayed while the page is hidden

// Waits until what was painted is displayed. Reading on before would pile up pictures in the browser
// that the server could still replace by newer ones.
function displayed() {
  return new Promise((resolve) => {
    const timer = setTimeout(resolve, longestWait);
    requestAnimationFrame(() => {
      clearTimeout(timer);
      resolve();
    });
  });
}

// More parts than this wait to be painted: two seconds of motion.
class TooManyWait extends Error {}
const mostWaiting = 60;

// Shows the stream in a canvas, one request at a time. Calls report("shown") after each change,
// report("ended") when a new request is needed, and report("unable") if this browser cannot paint.
//
// The next part is read when the last one is displayed, so that the server sends no more than is
// shown. With `readsAhead` parts are read as they arrive: WebKitGTK 2.54 takes everything from the
// server anyway, and keeps what arrived while nobody was reading until more arrives.
class CanvasViewer {
  constructor(canvas, options, report, readsAhead = false) {
    this.painter = new Painter(canvas, options);
    this.report = report;
    this.readsAhead = readsAhead;
    this.request = null;
    // What was painted is lost with the context.
    canvas.addEventListener("contextrestored", () => this.abort());
  }

  async watch(url) {
    const request = new AbortController();
    this.request = request;
    this.painter.version = 0;
    let waiting = 0;
    let painted = Promise.resolve();
    const show = async (part) => {
      if (request.signal.aborted) return;
      await this.painter.paint(part);
      this.report("shown");
      if (--waiting === 0) await displayed();
    };
    const add = (part) => {
      if (++waiting > mostWaiting) throw new TooManyWait();
      painted = painted.then(() => show(part));
      painted.catch(() => request.abort());
      return this.readsAhead ? null : painted;
    };
    const ended = await readStream(url, tilesType, request.signal, add).catch((error) => error);
    request.abort();
    const error = await painted.then(() => ended, (failed) => failed);
    if (error instanceof TooManyWait) {
      this.watch(url);
    } else {
      this.report(error instanceof StreamEnded ? "ended" : "unable");
    }
  }

  abort() {
    if (this.request) this.request.abort();
  }
}

// Serves a page from a worker: the first message has the canvas and its options, each later one the
// URL of the stream to show, or null to abort.
function serveFromWorker() {
  let viewer = null;
  onmessage = ({ data }) => {
    if (viewer === null) {
      viewer = new CanvasViewer(data.canvas, data.options, (event) => postMessage(event));
    } else if (data) {
      viewer.watch(data);
    } else {
      viewer.abort();
    }
  };
}
