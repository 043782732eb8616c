# Tells what stands in a GIF file: od -An -v -tu1 -w1 FILE | awk -f gif.awk
{ byte[NR - 1] = $1 + 0 }
function word() { at += 2; return byte[at - 2] + 256 * byte[at - 1] }
function blocks() { while (byte[at] > 0) at += byte[at] + 1; at++ }
function palette(flags,  size) {
  if (flags < 128) return "no palette"
  size = 2 ^ (flags % 8 + 1)
  at += 3 * size
  return size " colours"
}
END {
  at = 6
  width = word(); height = word(); at += 3
  printf "%dx%d, %s\n", width, height, palette(byte[10])
  while (at < NR && (kind = byte[at++]) != 59) {
    if (kind == 33 && byte[at] == 249) {
      flags = byte[at + 2]; at += 3; time = word()
      kept = flags % 2 ? " but " byte[at] : ""
      at += 2
    } else if (kind == 33) {
      at++; printf "extension\n"; blocks()
    } else {
      left = word(); top = word(); width = word(); height = word()
      own = palette(byte[at++])
      printf "%d: %dx%d at %d,%d, %s%s\n", time, width, height, left, top, own, kept
      at++; blocks()
    }
  }
  print kind == 59 && at == NR ? "complete" : "incomplete"
}
