# Pictures whose headers are read.
set(image_types
    com.adobe.photoshop-image com.adobe.photoshop-large-image com.adobe.raw-image com.apple.icns
    com.apple.macpaint-image com.apple.pict com.canon.cr2-raw-image com.canon.cr3-raw-image
    com.compuserve.gif com.fuji.raw-image com.leica.rwl-raw-image com.microsoft.bmp
    com.microsoft.cur com.microsoft.ico com.nikon.nrw-raw-image com.nikon.raw-image
    com.olympus.raw-image com.panasonic.raw-image com.sgi.sgi-image com.sony.arw-raw-image
    com.sony.raw-image com.sony.sr2-raw-image com.truevision.tga-image org.corvystack.pcx-image
    org.corvystack.xpm-image org.corvystack.xwd-image org.webmproject.webp public.avif
    public.heic public.heics public.heif public.jpeg public.jpeg-2000 public.pbm public.png
    public.svg-image public.tiff public.xbitmap-image)
