// Pictures as files: I420, as the engine delivers it, to PNG.
import { writeFileSync } from 'node:fs';

import { PNG } from 'pngjs';

const clamp = (value) => Math.max(0, Math.min(255, value));

/** Paints an I420 picture into `png` with its left upper corner at (left, top). BT.601, video range. */
export function paint(png, picture, width, height, left = 0, top = 0) {
  const chromaWidth = width >> 1;
  const uPlane = width * height;
  const vPlane = uPlane + chromaWidth * (height >> 1);
  for (let row = 0; row < height; row++) {
    for (let column = 0; column < width; column++) {
      const chroma = (row >> 1) * chromaWidth + (column >> 1);
      const y = 1.164 * (picture[row * width + column] - 16);
      const u = picture[uPlane + chroma] - 128;
      const v = picture[vPlane + chroma] - 128;
      const at = ((top + row) * png.width + left + column) * 4;
      png.data[at] = clamp(y + 1.596 * v);
      png.data[at + 1] = clamp(y - 0.392 * u - 0.813 * v);
      png.data[at + 2] = clamp(y + 2.017 * u);
      png.data[at + 3] = 255;
    }
  }
}

/** Writes one I420 picture as a PNG file. */
export function writePicture(file, picture, width, height) {
  const png = new PNG({ width, height });
  paint(png, picture, width, height);
  writeFileSync(file, PNG.sync.write(png));
}

/** Writes several I420 pictures side by side as one PNG file. */
export function writeContactSheet(file, pictures) {
  const gap = 4;
  const width = pictures.reduce((sum, { width: own }) => sum + own + gap, gap);
  const height = Math.max(...pictures.map(({ height: own }) => own)) + 2 * gap;
  const png = new PNG({ width, height });
  png.data.fill(255);
  let left = gap;
  for (const picture of pictures) {
    paint(png, picture.picture, picture.width, picture.height, left, gap);
    left += picture.width + gap;
  }
  writeFileSync(file, PNG.sync.write(png));
}
