// The rows of a measurement as an SVG chart: ratio to the floor, its spread and its limit.
const rowHeight = 26;
const labelWidth = 380;
const plotWidth = 480;
const greatest = 2.5;

const x = (ratio) => labelWidth + (Math.min(ratio, greatest) / greatest) * plotWidth;
const escape = (text) => text.replace(/&/g, '&amp;').replace(/</g, '&lt;');

function line(row, index) {
  const y = 30 + index * rowHeight;
  const colour = !row.limit || row.ratio <= row.limit ? '#2a7' : '#c43';
  const limit = !row.limit ? '' : `
  <line x1="${x(row.limit)}" x2="${x(row.limit)}" y1="${y}" y2="${y + 22}" stroke="#00f"
        stroke-dasharray="3,2"/>`;
  return `
  <text x="${labelWidth - 8}" y="${y + 14}" text-anchor="end">${escape(row.name)}</text>
  <rect x="${labelWidth}" y="${y + 4}" width="${x(row.ratio) - labelWidth}" height="14" fill="${colour}"/>
  <line x1="${x(row.low)}" x2="${x(row.high)}" y1="${y + 11}" y2="${y + 11}" stroke="#000"/>${limit}`;
}

/** An SVG document; a dashed line marks each row's limit, a thin one its spread. */
export function chart(rows) {
  const height = 40 + rows.length * rowHeight;
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${labelWidth + plotWidth + 20}" height="${height}"
  font-family="sans-serif" font-size="12">
  <text x="${labelWidth}" y="18">time in multiples of the floor</text>
  <line x1="${x(1)}" x2="${x(1)}" y1="24" y2="${height - 6}" stroke="#999"/>${rows.map(line).join('')}
</svg>
`;
}
