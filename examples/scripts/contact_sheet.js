// A contact sheet: every picture of a folder as a framed, labelled thumbnail
// on one page, drawn with the control's drawing primitives.
//
//   qorv script contact_sheet.js -- IN_DIR OUT.png [COLUMNS]
if (args.length < 2) throw new Error("usage: qorv script contact_sheet.js -- IN_DIR OUT.png [COLUMNS]");
var files = qorv.listFiles(args[0]);
var columns = args.length > 2 ? parseInt(args[2], 10) : 4;
var cell = 160, margin = 12, label = 18;

var thumbs = [];
files.forEach(function (path) {
  if (pic.LoadFreeImage(path, -1, "", true)) thumbs.push({ name: pic.FileName(path), picture: pic.Picture,
                                                       w: pic.OrgPictureWidth, h: pic.OrgPictureHeight });
});
if (thumbs.length === 0) throw new Error("no pictures in " + args[0]);

var rows = Math.ceil(thumbs.length / columns);
pic.Resample(columns * (cell + margin) + margin, rows * (cell + label + margin) + margin);
pic.Cls();
thumbs.forEach(function (t, i) {
  var x = margin + (i % columns) * (cell + margin);
  var y = margin + Math.floor(i / columns) * (cell + label + margin);
  var scale = Math.min(cell / t.w, cell / t.h);
  var w = Math.round(t.w * scale), h = Math.round(t.h * scale);
  pic.PaintPicture(t.picture, x + (cell - w) / 2, y + (cell - h) / 2, w, h);
  pic.DrawBox(x - 1, y - 1, x + cell, y + cell, 0x808080);
  pic.CurrentX = x;
  pic.CurrentY = y + cell + 2;
  pic.PrintText(t.name);
});
if (!pic.SaveFreeImage(args[1])) throw new Error("cannot save " + args[1] + ": " + pic.LastErrorDescription);
console.log("contact sheet of " + thumbs.length + " pictures: " + args[1]);
