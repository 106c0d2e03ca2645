"use strict";
(() => {
  const image = document.getElementById("screen");
  const idle = document.getElementById("idle");
  const hint = document.getElementById("hint");

  hint.setAttribute("role", "status");  // screen readers announce its changes

  let screen = image;      // the element that shows the picture
  let watch = watchAlone;  // requests the stream at a URL

  function shown() {
    screen.classList.remove("down");
    idle.hidden = true;
  }

  function disconnected() {
    screen.classList.add("down");
    idle.hidden = false;
    hint.textContent = hint.dataset.disconnected;
    setTimeout(() => watch("/stream?" + Date.now()), 2000);
  }

  image.addEventListener("load", () => {
    image.alt = "Shared screen";
    shown();
  });

  // Where a response cannot be read as it arrives, the image alone shows the stream.
  function watchAlone(url) {
    image.src = url;
  }

  if (!canReadStream) {
    image.addEventListener("error", disconnected);
    return;
  }

  let abort = () => {};       // ends the current request
  let leave = () => abort();  // ends it for good

  // Browsers hold back the last part of a multipart image until the next one begins, and report
  // nothing when the stream breaks. So where there is no canvas, the parts are read here and each is
  // shown in the same image. They are read as fast as they arrive and the newest picture is shown as
  // soon as the previous one is loaded: a slow device skips pictures instead of falling behind.
  function showInImage() {
    let shownURL = null;    // of the picture that is shown or loading
    let loading = false;
    let newestJPEG = null;  // arrived while the previous picture was loading

    function showNewest() {
      const previousURL = shownURL;
      shownURL = URL.createObjectURL(newestJPEG);
      newestJPEG = null;
      loading = true;
      image.src = shownURL;
      if (previousURL) URL.revokeObjectURL(previousURL);
    }

    function showNothing() {
      image.removeAttribute("src");
      if (shownURL) URL.revokeObjectURL(shownURL);
      shownURL = newestJPEG = null;
      loading = false;
    }

    watch = async (url) => {
      const request = new AbortController();
      abort = () => request.abort();
      await readStream(url, "application/octet-stream", request.signal, (jpeg) => {
        newestJPEG = jpeg;
        if (!loading) showNewest();
      }).catch(() => {
        request.abort();
        showNothing();
        disconnected();
      });
    };

    image.addEventListener("load", () => {
      loading = false;
      if (newestJPEG) showNewest();
    });
    image.addEventListener("error", () => abort());
  }

  // Takes the image's place.
  function addCanvas() {
    const canvas = document.createElement("canvas");
    canvas.id = "canvas";
    canvas.className = "down";
    canvas.setAttribute("role", "img");
    canvas.setAttribute("aria-label", "Shared screen");
    image.before(canvas);
    image.hidden = true;
    screen = canvas;
    return canvas;
  }

  function leaveCanvas(canvas) {
    leave();
    leave = () => abort();
    canvas.remove();
    image.hidden = false;
    screen = image;
    showInImage();
    watch("/stream");
  }

  function showInCanvas() {
    const canvas = addCanvas();
    const handlers = { shown, ended: disconnected, unable: () => leaveCanvas(canvas) };
    const report = (event) => handlers[event]();
    // WebKit scales other canvases badly.
    const options = { alpha: false, willReadFrequently: isApple };
    // Under load, WebKitGTK stops showing what a worker paints.
    if (!isApple && "OffscreenCanvas" in window && "transferControlToOffscreen" in canvas) {
      showFromWorker(canvas.transferControlToOffscreen(), options, report);
    } else {
      showFromPage(canvas, options, report);
    }
  }

  function showFromPage(canvas, options, report) {
    const viewer = new CanvasViewer(canvas, options, report, isApple);
    watch = (url) => viewer.watch(url);
    abort = () => viewer.abort();
  }

  function showFromWorker(canvas, options, report) {
    const source = [document.getElementById("painter").textContent, "serveFromWorker();"];
    const worker = new Worker(URL.createObjectURL(new Blob(source, { type: "text/javascript" })));
    worker.onmessage = ({ data }) => report(data);
    worker.onerror = () => report("unable");
    worker.postMessage({ canvas, options }, [canvas]);
    watch = (url) => worker.postMessage(new URL(url, location).href);
    abort = () => worker.postMessage(null);
    leave = () => worker.terminate();
  }

  // A connection made before the network went away can be dead without notice: while the screen is
  // still nothing is sent that could fail.
  addEventListener("online", () => abort());

  // A page that is left and kept for the way back would remain a viewer.
  addEventListener("pagehide", () => leave());
  addEventListener("pageshow", (event) => {
    if (event.persisted) location.reload();
  });

  image.classList.add("down");   // an image without a source is drawn as broken
  image.removeAttribute("src");  // ends the request that the markup has started
  if ("createImageBitmap" in window) {
    showInCanvas();
  } else {
    showInImage();
  }
  watch("/stream");
})();
