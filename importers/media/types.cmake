# Movies and sounds that are read. Playlists are not: they name other files.
set(media_types
    com.adobe.flash.video com.apple.amr-audio com.apple.coreaudio-format com.apple.m4a-audio
    com.apple.m4b-audio com.apple.m4v-video com.apple.protected-mpeg-4-audio
    com.apple.protected-mpeg-4-video com.apple.quicktime-audio com.apple.quicktime-movie
    com.macromedia.shockwave-flash com.microsoft.advanced-systems-format
    com.microsoft.waveform-audio com.microsoft.windows-media-wm com.microsoft.windows-media-wma
    com.microsoft.windows-media-wmp com.microsoft.windows-media-wmv com.real.realaudio
    com.real.realmedia com.real.realmedia-vbr org.corvystack.dts-audio
    org.corvystack.matroska-audio org.corvystack.monkeys-audio org.corvystack.musepack-audio
    org.corvystack.speex-audio org.corvystack.wavpack-audio org.matroska.mkv org.webmproject.webm
    org.xiph.flac org.xiph.ogg-audio org.xiph.ogg-video org.xiph.opus public.3gpp public.3gpp2
    public.aac-audio public.ac3-audio public.aifc-audio public.aiff-audio public.au-audio
    public.avi public.enhanced-ac3-audio public.midi-audio public.mp2 public.mp3 public.mpeg
    public.mpeg-2-transport-stream public.mpeg-2-video public.mpeg-4 public.mpeg-4-audio
    public.ulaw-audio public.video
    # No type is declared for .divx, .dsf, .dv, .flc, .m2t, .mxf, .tta, .voc, .vob and .w64.
    dyn.ah62d4rv4ge80k4p0ta dyn.ah62d4rv4ge80k65g dyn.ah62d4rv4ge80k7u dyn.ah62d4rv4ge80q5dd
    dyn.ah62d4rv4ge804qxy dyn.ah62d4rv4ge8048dg dyn.ah62d4rv4ge81k7db dyn.ah62d4rv4ge81q55d
    dyn.ah62d4rv4ge81q55c dyn.ah62d4rv4ge81srvy)
