// The media extension tables and the lookup that classifies an extension against all of them
// at once. The tables are the constant, ordered lists of lower-case extensions (repeated rows
// included) that the extension tests are defined by; the tests, the benchmark and the fuzz
// target compare the lookup with a plain case-insensitive scan of them.
#ifndef VONAUTIL_URL_TYPE_HPP
#define VONAUTIL_URL_TYPE_HPP

#include "player/src/util/mt/url_type.h"

namespace vona {

// The last row, "iptv", is a pseudo-extension by which IPTV playlists count as video.
inline constexpr const char* kVideoExtensions[] = {
    "3g2", "3gp", "3gp2", "3gpp", "3mm", "60d", "aep", "ajp", "amv", "asf", "asx", "avb", "avi", "avs",
    "bik", "bix", "box", "byu", "camrec", "cvc", "d2v", "dat", "dce", "dif", "dir", "dmb", "dpg", "dv",
    "dvr-ms", "dxr", "eye", "fcp", "flc", "fli", "flv", "flx", "gl", "grasp", "gvi", "gvp", "imovieproj",
    "imovieproject", "ivf", "ivs", "izz", "izzy", "lsf", "lsx", "m1v", "m21", "m2v", "m2t", "m2ts", "m4e",
    "m4u", "m4v", "mjp", "mk3d", "mkv", "mod", "moov", "mov", "movie", "mp21", "mp4", "mpe", "mpeg", "mpg",
    "mpv2", "mqv", "msh", "mswmm", "mts", "mvb", "mvc", "nsv", "nvc", "ogm", "pds", "piv", "playlist",
    "pro", "prproj", "prx", "qt", "qtch", "qtz", "rm", "rmvb", "rp", "rts", "rts", "sbk", "scm", "scm",
    "sfvidcap", "smil", "smv", "spl", "ssif", "ssm", "str", "svi", "swf", "swi", "tda3mt", "tod", "tivo",
    "ts", "tp", "trp", "vdo", "veg", "vf", "vfw", "vid", "viewlet", "viv", "vivo", "vob", "vp6", "vp7",
    "vro", "w32", "wcp", "wm", "wmd", "wmv", "wmx", "wvx", "yuv", "iptv"};

inline constexpr const char* kAudioExtensions[] = {
    "8cm", "8med", "8svx", "aa3", "aac", "abc", "ac3", "acd", "act", "ahx", "aif", "aifc", "aiff", "ais",
    "akp", "al", "alaw", "all", "amr", "ams", "ams", "ape", "ase", "au", "aud", "aup", "avr", "band", "bap",
    "bdd", "box", "bwf", "c01", "caf", "cda", "cdr", "cel", "cmf", "copy", "cpr", "csh", "cue", "cwp",
    "d00", "d01", "dcf", "dcm", "dct", "dewf", "df2", "dfc", "dig", "dig", "dls", "dm", "dmf", "dsm", "dsp",
    "dss", "dtm", "dts", "dvf", "DWD", "ear", "efa", "efe", "efk", "efq", "efs", "efv", "emd", "esps",
    "f2r", "f32", "f3r", "f64", "far", "fff", "flac", "fla", "flp", "fsm", "fzb", "fzf", "fzv", "g721",
    "g723", "g726", "gig", "gp5", "gsm", "gsm", "ics", "iff", "ins", "ins", "it", "iti", "its", "jam",
    "k25", "k26", "kar", "kin", "kmp", "koz", "koz", "krz", "ksc", "ksf", "ktp", "l", "lso", "lvp", "m4a",
    "m4b", "m4p", "m4r", "ma1", "mdl", "med", "mid", "midi", "miniusf", "mka", "mmf", "mp1", "mp2", "mp3",
    "mpa", "mpc", "mpd", "mpga", "mpu", "mp_", "msv", "mt2", "mte", "mti", "mtm", "mtp", "mus", "mws",
    "nap", "nrt", "nsa", "nsf", "nst", "ntn", "nwc", "odm", "oga", "ogg", "okt", "omf", "omg", "pac", "pat",
    "pbf", "pca", "pcm", "phy", "pla", "pna", "prg", "prg", "psm", "ptm", "pts", "pvc", "qcp", "r", "ra",
    "ram", "raw", "rbs", "rfl", "rmf", "rmi", "rmx", "rng", "rol", "rsn", "rti", "rtm", "rts", "s3i", "s3m",
    "saf", "sam", "sb", "sbi", "sbk", "sc2", "sd", "sd", "sd2", "sds", "sdx", "sf", "sf2", "sfk", "sfl",
    "shn", "sib", "sid", "smf", "smp", "snd", "snd", "snd", "sng", "sou", "sppack", "sprg", "sseq", "ssnd",
    "stm", "stx", "svx", "sw", "swa", "syh", "syw", "syx", "td0", "tfmx", "thx", "toc", "tsp", "txw", "u",
    "ub", "ulaw", "ult", "ulw", "uni", "usf", "usflib", "uw", "uwf", "vag", "val", "vmd", "vmf", "vmf",
    "voc", "voi", "vox", "vqf", "vrf", "w01", "wav", "wave", "wax", "wfb", "wfd", "wfp", "wma", "wow",
    "wpk", "wproj", "wrk", "wus", "wut", "wv", "wwu", "xfs", "xi", "xm", "xmf", "xmi", "xp", "xt", "zvd"};

inline constexpr const char* kImageExtensions[] = {
    "001", "2bp", "2d", "3d", "3d2", "3d4", "3da", "3df", "3dl", "3dm", "3dmf", "3ds", "3dx", "8pbs", "ac5",
    "ac6", "acr", "act", "adc", "adi", "afp", "agp", "ai", "ais", "amu", "anm", "arr", "art", "art", "awd",
    "bip", "blend", "blz", "bmc", "bmc", "bmf", "bmp", "br3", "br4", "br5", "btf", "btif", "c4", "c4d",
    "cag", "cal", "cal", "cals", "cam", "catpart", "cdr", "cdt", "ce", "cel", "cgm", "cil", "cin", "cld",
    "cmx", "cnv", "cpc", "cph", "cps", "cpt", "cr2", "cr2", "crw", "csf", "cut", "cv5", "cvg", "cvi", "cvi",
    "cvs", "cvx", "dae", "dcm", "dcr", "dcs", "dcx", "ddb", "ddrw", "dds", "des", "des", "dgn", "dib",
    "dng", "dpd", "dpp", "dpr", "dpx", "drw", "drw", "dwg", "dxb", "dxf", "emf", "emz", "eps", "exif",
    "fac", "face", "fal", "fax", "fbm", "fbx", "fh9", "fhd", "fits", "flx", "fm", "fpx", "fs", "gds", "gem",
    "gem", "gfb", "gif", "gks", "gmf", "graffle", "gry", "gsd", "gsm", "hcx", "hdp", "hdr", "hf", "hip",
    "hipnc", "hmk", "hpgl", "hpi", "hr", "hrf", "iam", "ic1", "ic2", "ic3", "ica", "icb", "icn", "icon",
    "idw", "iff", "iges", "igs", "ilbm", "imj", "indd", "info", "ink", "ink", "inx", "ipt", "ithmb", "ivr",
    "j", "j2c", "j2k", "jas", "jbf", "jbig", "jfi", "jfif", "jif", "jiff", "jp2", "jpc", "jpe", "jpeg",
    "jpf", "jpg", "jpw", "jpx", "jtf", "kdc", "kdk", "kfx", "kodak", "kpg", "lbm", "lin", "lwo", "lws",
    "mac", "mag", "max", "max", "max", "mbm", "mcs", "mcx", "mdi", "meb", "mesh", "mgf", "mgs", "mic",
    "mip", "mix", "mix", "mma", "mng", "mrb", "mrw", "msk", "msp", "nav", "ncd", "nef", "neo", "nff", "nif",
    "ntc", "ntf", "obj", "odc", "odg", "odi", "odif", "off", "ola", "omf", "opf", "orf", "ota", "otb",
    "otc", "otg", "oti", "ovw", "p3d", "p65", "pac", "pal", "pat", "pat", "pbm", "pc1", "pc2", "pc3", "pc6",
    "pc7", "pcd", "pct", "pcx", "pd", "pdd", "pdg", "pe4", "pe4", "pef", "pfr", "pgm", "pi1", "pi2", "pi3",
    "pi4", "pi5", "pi6", "pic", "pic", "pic", "picnc", "pict", "pictcli", "pla", "pln", "plt", "plt", "ply",
    "pm", "pm3", "pm4", "pm5", "pm6", "png", "pnt", "pov", "pov", "pp2", "ppm", "ppp", "prn", "prw", "ps",
    "psb", "psd", "psf", "psg", "psid", "psp", "pspimag", "ptx", "ptx", "pwp", "pws", "px", "pxr", "pz3",
    "pzz", "qif", "qti", "qtif", "qxd", "qxp", "qxt", "raf", "ras", "raw", "ray", "rds", "rgb", "rgb",
    "rif", "rix", "rle", "sar", "sbk", "scg", "sci", "scp", "sct", "scu", "scv", "sda", "sdb", "sdm", "sdr",
    "sff", "sfw", "sgi", "shg", "shp", "si", "sid", "sig", "sim", "skp", "sldasm", "slddrw", "sldprt",
    "smp", "sp", "spc", "spiff", "spp", "spu", "sr", "srf", "std", "sto", "stp", "sun", "suniff", "sup",
    "svg", "sxd", "taac", "tcd", "tcw", "tddd", "tex", "tfw", "tga", "thm", "thm", "thumb", "tif", "tiff",
    "tjp", "tlc", "tn1", "tn2", "tn3", "tny", "trif", "u", "u3d", "ufo", "urt", "v", "v3d", "vda", "vff",
    "vic", "viff", "vis", "vna", "vsd", "vss", "vst", "vst", "vue", "wbmp", "wdp", "web", "wgs", "wi",
    "wic", "wmf", "wmp", "wnk", "wpg", "wrl", "wrp", "wrz", "x3d", "xar", "xbm", "xcf", "xdw", "xif", "xof",
    "xpm", "xsi", "xwd", "xws", "y", "yal", "yaodl", "ydl", "yuv", "zgm", "zno", "zt"};

inline constexpr const char* kPhotoExtensions[] = {"djpg", "jpg", "jpeg", "dpng", "png", "dbmp", "bmp", "gif", "aai"};
// Checked before the image table by the image test.
inline constexpr const char* kExtraImageExtensions[] = {"aai", "djpg", "dpng", "dbmp"};
inline constexpr const char* kHtmlExtensions[] = {"html", "htm", "xhtml", "txt", "text"};

// The tables an extension belongs to, as bits.
enum ExtensionKind : unsigned {
  kExtVideo = 1u << 0,
  kExtDivx = 1u << 1,  // video only while the read-only flag allows it
  kExtAudio = 1u << 2,
  kExtImage = 1u << 3,  // the image table and the extra image extensions
  kExtPhoto = 1u << 4,
  kExtHtml = 1u << 5,
  kExtM3u = 1u << 6,
  kExtPls = 1u << 7,
  kExtIso = 1u << 8,
  kExtApk = 1u << 9,
};

// The kinds of an extension (without its dot), ignoring ASCII case; 0 for one in no table.
unsigned extension_kinds(const char* ext);

}  // namespace vona

#endif
