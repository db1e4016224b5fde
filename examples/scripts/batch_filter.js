// Grayscale and sharpen every picture of a folder, saved as PNG in another.
//
//   qorv script batch_filter.js -- IN_DIR OUT_DIR
if (args.length !== 2) throw new Error("usage: qorv script batch_filter.js -- IN_DIR OUT_DIR");
var inDir = args[0], outDir = args[1];
var done = 0, skipped = 0;

pic.ProcessComplete.connect(function (description) { console.log("  " + description); });

qorv.listFiles(inDir).forEach(function (path) {
  if (!pic.LoadFreeImage(path)) {
    console.log("skipped " + pic.FileName(path) + ": " + pic.LastErrorDescription);
    skipped++;
    return;
  }
  console.log(pic.FileName(path) + " (" + pic.OrgPictureWidth + "x" + pic.OrgPictureHeight + ")");
  pic.Grayscale();
  pic.ApplyFilter(5);  // eSharpen
  var out = outDir + "/" + pic.RemoveFileExtension(pic.FileName(path)) + ".png";
  if (!pic.SaveFreeImage(out)) throw new Error("cannot save " + out + ": " + pic.LastErrorDescription);
  done++;
});
console.log("filtered " + done + " pictures, skipped " + skipped);
