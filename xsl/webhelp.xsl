<?xml version="1.0"?>
<!-- Framed HTML: DocBook's chunked HTML plus a frameset index.html and a
     left pane table of contents (toc.html) with the navigation images
     img/chapter_c.gif, img/chapter_e.gif and img/topic.gif. All files are
     written beside the result document. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
                xmlns:exsl="http://exslt.org/common"
                extension-element-prefixes="exsl"
                exclude-result-prefixes="exsl"
                version="1.0">

<xsl:import href="file:///usr/share/xml/docbook/stylesheet/docbook-xsl/html/chunk.xsl"/>

<!-- The title page is main.html: index.html is the frameset. -->
<xsl:param name="root.filename" select="'main'"/>
<xsl:param name="webhelp.toc.filename" select="'toc.html'"/>
<xsl:param name="webhelp.toc.target" select="'body'"/>

<!-- Colours of the left pane's entries, RRGGBB; the active entry swaps them. -->
<xsl:param name="toc.inactive.color" select="'000080'"/>
<xsl:param name="toc.inactive.bgcolor" select="'FFFFFF'"/>
<xsl:param name="toc.active.color" select="'FFFFFF'"/>
<xsl:param name="toc.active.bgcolor" select="'000080'"/>

<!-- Style of the left pane; the generated stylesheet replaces it. -->
<xsl:template name="toc.user.head.content">
  <style type="text/css">
    a{font: 10pt Arial,Helvetica,sans-serif; text-decoration: none; color: #000080}
    a.symbol{cursor:pointer}
    div{margin-left: 10pt}
  </style>
</xsl:template>

<xsl:template match="/">
  <xsl:apply-imports/>
  <xsl:call-template name="webhelp.frameset"/>
  <xsl:call-template name="webhelp.toc"/>
</xsl:template>

<xsl:template name="webhelp.title">
  <xsl:value-of select="normalize-space((/*/bookinfo/title | /*/info/title | /*/title)[1])"/>
</xsl:template>

<xsl:template name="webhelp.frameset">
  <xsl:call-template name="write.chunk">
    <xsl:with-param name="filename" select="concat($base.dir, 'index.html')"/>
    <xsl:with-param name="quiet" select="1"/>
    <xsl:with-param name="content">
      <xsl:variable name="contents">
        <xsl:call-template name="gentext">
          <xsl:with-param name="key" select="'TableofContents'"/>
        </xsl:call-template>
      </xsl:variable>
      <html>
        <xsl:call-template name="root.attributes"/>
        <head>
          <title><xsl:call-template name="webhelp.title"/></title>
        </head>
        <frameset cols="28%,*">
          <frame name="toc" src="{$webhelp.toc.filename}" title="{$contents}"/>
          <frame name="{$webhelp.toc.target}" src="{concat($root.filename, $html.ext)}">
            <xsl:attribute name="title"><xsl:call-template name="webhelp.title"/></xsl:attribute>
          </frame>
          <!-- A reader without frames gets the contents, whose links lead on. -->
          <noframes>
            <body>
              <p><a href="{$webhelp.toc.filename}"><xsl:value-of select="$contents"/></a></p>
            </body>
          </noframes>
        </frameset>
      </html>
    </xsl:with-param>
  </xsl:call-template>
</xsl:template>

<xsl:template name="webhelp.toc">
  <xsl:call-template name="write.chunk">
    <xsl:with-param name="filename" select="concat($base.dir, $webhelp.toc.filename)"/>
    <xsl:with-param name="quiet" select="1"/>
    <xsl:with-param name="content">
      <html>
        <xsl:call-template name="root.attributes"/>
        <head>
          <title><xsl:call-template name="webhelp.title"/></title>
          <xsl:call-template name="toc.user.head.content"/>
          <script type="text/javascript">
            <xsl:text>var active = null;
function paint(a, fg, bg) { a.style.color = '#' + fg; a.style.backgroundColor = '#' + bg; }
function activate(a) {
  if (active) paint(active, '</xsl:text>
            <xsl:value-of select="$toc.inactive.color"/>
            <xsl:text>', '</xsl:text>
            <xsl:value-of select="$toc.inactive.bgcolor"/>
            <xsl:text>');
  paint(a, '</xsl:text>
            <xsl:value-of select="$toc.active.color"/>
            <xsl:text>', '</xsl:text>
            <xsl:value-of select="$toc.active.bgcolor"/>
            <xsl:text>');
  active = a;
}
function toggle(id, a) {
  var d = document.getElementById(id);
  var img = a.getElementsByTagName('img')[0];
  var open = d.style.display == 'none';
  d.style.display = open ? 'block' : 'none';
  a.setAttribute('aria-expanded', open ? 'true' : 'false');
  img.src = open ? 'img/chapter_e.gif' : 'img/chapter_c.gif';
  img.alt = open ? '-' : '+';
  return false;
}
</xsl:text>
          </script>
        </head>
        <body class="webhelp-toc">
          <p class="webhelp-book">
            <a href="{concat($root.filename, $html.ext)}" target="{$webhelp.toc.target}" onclick="activate(this)">
              <b><xsl:call-template name="webhelp.title"/></b>
            </a>
          </p>
          <xsl:apply-templates select="/*/*" mode="webhelp.toc"/>
        </body>
      </html>
    </xsl:with-param>
  </xsl:call-template>
</xsl:template>

<xsl:template match="*" mode="webhelp.toc"/>

<xsl:template match="preface|chapter|appendix|article|part|reference|glossary|bibliography|index|section|sect1|sect2|sect3|sect4|sect5|refentry"
              mode="webhelp.toc">
  <xsl:variable name="children"
                select="section|sect1|sect2|sect3|sect4|sect5|chapter|appendix|preface|refentry|article"/>
  <xsl:variable name="id" select="generate-id()"/>
  <xsl:variable name="href">
    <xsl:call-template name="href.target">
      <xsl:with-param name="object" select="."/>
    </xsl:call-template>
  </xsl:variable>
  <xsl:variable name="label">
    <xsl:apply-templates select="." mode="label.markup"/>
  </xsl:variable>
  <div class="webhelp-entry">
    <xsl:choose>
      <xsl:when test="$children">
        <!-- A link, so that the keyboard reaches it; it says whether it is open. -->
        <a class="symbol" href="#" role="button" aria-expanded="false" aria-controls="{$id}"
           onclick="return toggle('{$id}', this)">
          <img src="img/chapter_c.gif" alt="+"/>
        </a>
      </xsl:when>
      <xsl:otherwise>
        <img src="img/topic.gif" alt=""/>
      </xsl:otherwise>
    </xsl:choose>
    <xsl:text> </xsl:text>
    <a href="{$href}" target="{$webhelp.toc.target}" onclick="activate(this)">
      <xsl:if test="$label != ''">
        <xsl:value-of select="$label"/>
        <xsl:value-of select="$autotoc.label.separator"/>
      </xsl:if>
      <xsl:apply-templates select="." mode="titleabbrev.markup"/>
    </a>
    <xsl:if test="$children">
      <div id="{$id}" style="display:none">
        <xsl:apply-templates select="$children" mode="webhelp.toc"/>
      </div>
    </xsl:if>
  </div>
</xsl:template>

</xsl:stylesheet>
