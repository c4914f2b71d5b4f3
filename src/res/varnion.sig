# Types and creators that files of a PC get on a Macintosh, by extension, and back.
# A row is: extension, type and creator, comment. Of several rows of one type the first gives
# the extension of a Macintosh file. The second section is in French.
TXT,TEXTttxt,Plain text
ASC,TEXTttxt,ASCII text
ME,TEXTttxt,Read-me file
NFO,TEXTttxt,Information file
DIZ,TEXTttxt,Description of an archive
LOG,TEXTttxt,Log file
INI,TEXTttxt,Settings of a Windows program
CFG,TEXTttxt,Configuration file
SQL,TEXTttxt,Database script
XML,TEXTttxt,XML document
CSS,TEXTttxt,Style sheet of Web pages
JS,TEXTttxt,Script of Web pages
HTM,TEXTMSIE,Web page
HTML,TEXTMSIE,Web page
RTF,RTF MSWD,Rich text
DOC,W8BNMSWD,Word document
DOT,W8TNMSWD,Word template
XLS,XLS8XCEL,Excel workbook
CSV,TEXTXCEL,Table, values parted by commas
TAB,TEXTXCEL,Table, values parted by tabs
SLK,TEXTXCEL,SYLK table
PPT,SLD8PPT3,PowerPoint presentation
PPS,PPSSPPT3,PowerPoint show
CWK,CWWPBOBO,AppleWorks document
PDF,PDF CARO,Acrobat document
PS,TEXTvgrd,PostScript file
EPS,EPSFvgrd,Encapsulated PostScript
AI,TEXTART5,Illustrator drawing
FH7,AGD3FH70,FreeHand drawing
FH8,AGD4FH80,FreeHand drawing
QXD,XDOCXPR3,QuarkXPress document
QXT,XTMPXPR3,QuarkXPress template
P65,AB65AD65,PageMaker publication
INDD,InDdInDn,InDesign document
FM,FASLFram,FrameMaker document
TEX,TEXTOTEX,TeX source
DVI,ODVIOTEX,Output of TeX
FP5,FMP5FMP5,FileMaker database
FP7,FMP7FMP7,FileMaker database
EML,TEXTCSOm,Mail message
JPG,JPEGogle,JPEG image
JPEG,JPEGogle,JPEG image
GIF,GIFfogle,GIF image
PNG,PNGfogle,PNG image
TIF,TIFFogle,TIFF image
TIFF,TIFFogle,TIFF image
BMP,BMPpogle,Windows bitmap
PCT,PICTogle,Macintosh picture
PICT,PICTogle,Macintosh picture
PNT,PNTGogle,MacPaint image
QTIF,qtifogle,QuickTime image
TGA,TPICogle,Targa image
SGI,.SGIogle,Silicon Graphics image
PSD,8BPS8BIM,Photoshop image
PCX,PCXxGKON,PC Paintbrush image
IFF,ILBMGKON,Amiga image
PPM,PPGMGKON,Portable pixmap
WMF,WMF GKON,Windows metafile
ICO,ICO GKON,Windows icon
ICNS,icns????,Macintosh icon
AIF,AIFFTVOD,AIFF sound
AIFF,AIFFTVOD,AIFF sound
AIFC,AIFCTVOD,Compressed AIFF sound
WAV,WAVETVOD,Windows sound
AU,ULAWTVOD,Sun or NeXT sound
MP3,MPG3hook,MP3 sound
M4A,M4A hook,AAC sound
M3U,M3U hook,List of sounds
MID,MidiTVOD,MIDI music
MIDI,MidiTVOD,MIDI music
RA,PNRAPNst,RealAudio sound
RM,PNRMPNst,RealMedia film
MOV,MooVTVOD,QuickTime film
QT,MooVTVOD,QuickTime film
MPG,MPEGTVOD,MPEG film
MPEG,MPEGTVOD,MPEG film
MP4,mpg4TVOD,MPEG-4 film
AVI,VfW TVOD,Windows film
DV,dvc!TVOD,Digital video
FLC,FLI TVOD,Animation of Autodesk
SWF,SWFLSWF2,Flash animation
SIT,SITDSIT!,StuffIt archive
SEA,APPLaust,Self-extracting archive
CPT,PACTCPCT,Compact Pro archive
HQX,TEXTSITx,BinHex file
ZIP,ZIP SITx,Zip archive
JAR,ZIP SITx,Java archive
GZ,GzipSITx,File compressed by gzip
TGZ,GzipSITx,Tar archive compressed by gzip
TAR,TARFSITx,Tar archive
Z,ZIVUSITx,File compressed by compress
LZH,LHA SITx,LHA archive
IMG,dImgdCpy,Disk image of Disk Copy
DMG,devrddsk,Disk image of Mac OS X
TTF,sfntmovr,TrueType font
SUIT,FFILDMOV,Font suitcase
C,TEXTCWIE,C source
H,TEXTCWIE,C header
CPP,TEXTCWIE,C++ source
PAS,TEXTCWIE,Pascal source
JAVA,TEXTCWIE,Java source
PL,TEXTMcPL,Perl script
PY,TEXTPyth,Python script
EXE,DEXESWIN,Program of the PC
#[1]
# Types et créateurs que les fichiers d’un PC reçoivent sur un Macintosh, selon leur extension.
TXT,TEXTttxt,Texte brut
ASC,TEXTttxt,Texte ASCII
ME,TEXTttxt,Fichier à lire
NFO,TEXTttxt,Fichier d’information
DIZ,TEXTttxt,Description d’une archive
LOG,TEXTttxt,Journal
INI,TEXTttxt,Réglages d’un programme Windows
CFG,TEXTttxt,Fichier de configuration
SQL,TEXTttxt,Script de base de données
XML,TEXTttxt,Document XML
CSS,TEXTttxt,Feuille de style de pages Web
JS,TEXTttxt,Script de pages Web
HTM,TEXTMSIE,Page Web
HTML,TEXTMSIE,Page Web
RTF,RTF MSWD,Texte enrichi
DOC,W8BNMSWD,Document Word
DOT,W8TNMSWD,Modèle Word
XLS,XLS8XCEL,Classeur Excel
CSV,TEXTXCEL,Tableau, valeurs séparées par des virgules
TAB,TEXTXCEL,Tableau, valeurs séparées par des tabulations
SLK,TEXTXCEL,Tableau SYLK
PPT,SLD8PPT3,Présentation PowerPoint
PPS,PPSSPPT3,Diaporama PowerPoint
CWK,CWWPBOBO,Document AppleWorks
PDF,PDF CARO,Document Acrobat
PS,TEXTvgrd,Fichier PostScript
EPS,EPSFvgrd,PostScript encapsulé
AI,TEXTART5,Dessin Illustrator
FH7,AGD3FH70,Dessin FreeHand
FH8,AGD4FH80,Dessin FreeHand
QXD,XDOCXPR3,Document QuarkXPress
QXT,XTMPXPR3,Modèle QuarkXPress
P65,AB65AD65,Publication PageMaker
INDD,InDdInDn,Document InDesign
FM,FASLFram,Document FrameMaker
TEX,TEXTOTEX,Source TeX
DVI,ODVIOTEX,Sortie de TeX
FP5,FMP5FMP5,Base FileMaker
FP7,FMP7FMP7,Base FileMaker
EML,TEXTCSOm,Message de courrier
JPG,JPEGogle,Image JPEG
JPEG,JPEGogle,Image JPEG
GIF,GIFfogle,Image GIF
PNG,PNGfogle,Image PNG
TIF,TIFFogle,Image TIFF
TIFF,TIFFogle,Image TIFF
BMP,BMPpogle,Image BMP de Windows
PCT,PICTogle,Image PICT du Macintosh
PICT,PICTogle,Image PICT du Macintosh
PNT,PNTGogle,Image MacPaint
QTIF,qtifogle,Image QuickTime
TGA,TPICogle,Image Targa
SGI,.SGIogle,Image Silicon Graphics
PSD,8BPS8BIM,Image Photoshop
PCX,PCXxGKON,Image PC Paintbrush
IFF,ILBMGKON,Image de l’Amiga
PPM,PPGMGKON,Image PPM
WMF,WMF GKON,Métafichier Windows
ICO,ICO GKON,Icône Windows
ICNS,icns????,Icône du Macintosh
AIF,AIFFTVOD,Son AIFF
AIFF,AIFFTVOD,Son AIFF
AIFC,AIFCTVOD,Son AIFF compressé
WAV,WAVETVOD,Son Windows
AU,ULAWTVOD,Son Sun ou NeXT
MP3,MPG3hook,Son MP3
M4A,M4A hook,Son AAC
M3U,M3U hook,Liste de sons
MID,MidiTVOD,Musique MIDI
MIDI,MidiTVOD,Musique MIDI
RA,PNRAPNst,Son RealAudio
RM,PNRMPNst,Film RealMedia
MOV,MooVTVOD,Film QuickTime
QT,MooVTVOD,Film QuickTime
MPG,MPEGTVOD,Film MPEG
MPEG,MPEGTVOD,Film MPEG
MP4,mpg4TVOD,Film MPEG-4
AVI,VfW TVOD,Film Windows
DV,dvc!TVOD,Vidéo numérique
FLC,FLI TVOD,Animation Autodesk
SWF,SWFLSWF2,Animation Flash
SIT,SITDSIT!,Archive StuffIt
SEA,APPLaust,Archive autoextractible
CPT,PACTCPCT,Archive Compact Pro
HQX,TEXTSITx,Fichier BinHex
ZIP,ZIP SITx,Archive Zip
JAR,ZIP SITx,Archive Java
GZ,GzipSITx,Fichier compressé par gzip
TGZ,GzipSITx,Archive tar compressée par gzip
TAR,TARFSITx,Archive tar
Z,ZIVUSITx,Fichier compressé par compress
LZH,LHA SITx,Archive LHA
IMG,dImgdCpy,Image disque de Disk Copy
DMG,devrddsk,Image disque de Mac OS X
TTF,sfntmovr,Police TrueType
SUIT,FFILDMOV,Valise de polices
C,TEXTCWIE,Source C
H,TEXTCWIE,En-tête C
CPP,TEXTCWIE,Source C++
PAS,TEXTCWIE,Source Pascal
JAVA,TEXTCWIE,Source Java
PL,TEXTMcPL,Script Perl
PY,TEXTPyth,Script Python
EXE,DEXESWIN,Programme du PC
