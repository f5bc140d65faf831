#include "platform/html_import/user_agent_sheet.h"

namespace corvy::platform::css {

const std::string_view kUserAgentSheet = R"css(
html, body, address, article, aside, blockquote, center, dialog, dd, details, dir, div, dl, dt,
fieldset, figcaption, figure, footer, form, frame, frameset, h1, h2, h3, h4, h5, h6, header,
hgroup, hr, legend, listing, main, menu, nav, ol, optgroup, option, p, plaintext, pre, search,
section, summary, ul, xmp { display: block }
[hidden]:not([hidden="until-found" i]), area, base, basefont, datalist, dialog:not([open]), embed,
head, link, math, meta, noembed, noframes, object[hidden], param, rp, script, style, svg,
template, title, input[type=hidden i], audio:not([controls]) { display: none }
iframe, img, object, video, canvas, audio, applet, meter, progress { display: inline-block }
body { margin: 8px }
p, dl, blockquote, figure, listing, plaintext, pre, xmp, menu, dir, ul, ol {
    margin-top: 1em; margin-bottom: 1em }
blockquote, figure { margin-left: 40px; margin-right: 40px }
dd { margin-left: 40px }
address, cite, dfn, em, i, var { font-style: italic }
b, strong { font-weight: bolder }
h1, h2, h3, h4, h5, h6 { font-weight: bold }
h1 { font-size: 2em; margin: .67em 0 }
h2 { font-size: 1.5em; margin: .83em 0 }
h3 { font-size: 1.17em; margin: 1em 0 }
h4 { margin: 1.33em 0 }
h5 { font-size: .83em; margin: 1.67em 0 }
h6 { font-size: .67em; margin: 2.33em 0 }
center { text-align: center }
tt, code, kbd, samp, listing, plaintext, pre, xmp { font-family: monospace }
listing, plaintext, pre, xmp, textarea { white-space: pre }
nobr { white-space: nowrap }
td[nowrap], th[nowrap] { white-space: nowrap }
big { font-size: larger }
small { font-size: smaller }
sub { vertical-align: sub; font-size: smaller }
sup { vertical-align: super; font-size: smaller }
u, ins { text-decoration: underline }
s, strike, del { text-decoration: line-through }
abbr[title], acronym[title] { text-decoration: underline }
:link { color: #0000ee; text-decoration: underline }
mark { background-color: #ffff00; color: #000000 }
hr { color: gray; border: 1px solid; margin: .5em 0 }
ol, ul, menu, dir { padding-left: 40px }
ol { list-style-type: decimal }
ul, menu, dir { list-style-type: disc }
:is(ul, ol, menu, dir) :is(ul, menu, dir) { list-style-type: circle }
:is(ul, ol, menu, dir) :is(ul, ol, menu, dir) :is(ul, menu, dir) { list-style-type: square }
:is(ul, ol, menu, dir) :is(ul, ol, menu, dir, dl), dl dl { margin-top: 0; margin-bottom: 0 }
li { display: list-item }
summary { display: block }
table { display: table; text-indent: 0; border-color: gray }
caption { display: table-caption; text-align: center }
tr { display: table-row; vertical-align: inherit }
thead { display: table-header-group; vertical-align: middle }
tbody { display: table-row-group; vertical-align: middle }
tfoot { display: table-footer-group; vertical-align: middle }
col, colgroup { display: table-column }
td, th { display: table-cell; vertical-align: inherit; padding: 1px }
th { font-weight: bold; text-align: center }
ruby { display: ruby }
rt { display: ruby-text; font-size: 50%; text-align: start }
fieldset { margin: 0 2px; padding: .35em .75em .625em }
button, input, select, textarea {
    display: inline-block; font: 13.3333px Arial; color: black; letter-spacing: normal;
    text-align: start; text-indent: 0; text-transform: none }
button { text-align: center }
textarea { font-family: monospace; white-space: pre-wrap }
select, option, optgroup { white-space: pre }
optgroup { font-weight: bolder }
option { font-weight: normal }
[dir=ltr i] { direction: ltr }
[dir=rtl i] { direction: rtl }
[dir=rtl i]:is(ul, ol, menu, dir), [dir=rtl i] :is(ul, ol, menu, dir) {
    padding-left: 0; padding-right: 40px }
)css";

const std::string_view kQuirksSheet = R"css(
table {
    white-space: normal; line-height: normal; font-weight: normal; font-size: medium;
    font-style: normal; text-align: start }
)css";

}  // namespace corvy::platform::css
