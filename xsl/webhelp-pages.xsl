<?xml version="1.0"?>
<!-- Web help: DocBook's chunked pages with a shell around them. Every page
     loads webhelp.css, the book's contents (toc.js) and webhelp.js, which
     builds the sidebar, the breadcrumbs, previous/next and the search from
     them; DocBook's own navigation stays for a browser without scripts. The
     program writes toc.js, the search index and context.json after the
     pages. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0">

<xsl:import href="file:///usr/share/xml/docbook/stylesheet/docbook-xsl/html/chunk.xsl"/>

<xsl:param name="root.filename" select="'index'"/>
<!-- How deep the sidebar's contents go. -->
<xsl:param name="webhelp.toc.depth" select="10"/>

<xsl:template name="webhelp.title">
  <xsl:value-of select="normalize-space((/*/bookinfo/title | /*/info/title | /*/title)[1])"/>
</xsl:template>

<xsl:template name="webhelp.head">
  <meta name="viewport" content="width=device-width, initial-scale=1"/>
  <meta name="quillary-toc-depth" content="{$webhelp.toc.depth}"/>
  <link rel="stylesheet" type="text/css" href="webhelp.css"/>
  <script src="toc.js"></script>
  <script src="webhelp.js" defer="defer"></script>
</xsl:template>

<!-- The bar on top and the places the script fills; the same on every page. -->
<xsl:template name="user.header.content">
  <div class="qh-bar" id="qh-bar">
    <button type="button" class="qh-menu" id="qh-menu" aria-controls="qh-sidebar" aria-expanded="false">
      <span class="qh-menu-icon" aria-hidden="true"></span>
      <span class="qh-label">
        <xsl:call-template name="gentext">
          <xsl:with-param name="key" select="'TableofContents'"/>
        </xsl:call-template>
      </span>
    </button>
    <a class="qh-home" href="{concat($root.filename, $html.ext)}">
      <xsl:call-template name="webhelp.title"/>
    </a>
    <form class="qh-search" id="qh-search" role="search" action="{concat($root.filename, $html.ext)}">
      <input type="search" name="q" id="qh-q" autocomplete="off" aria-label="Search" placeholder="Search"/>
    </form>
  </div>
  <nav class="qh-sidebar" id="qh-sidebar">
    <xsl:attribute name="aria-label">
      <xsl:call-template name="gentext">
        <xsl:with-param name="key" select="'TableofContents'"/>
      </xsl:call-template>
    </xsl:attribute>
  </nav>
  <div class="qh-results" id="qh-results" hidden="hidden"></div>
  <nav class="qh-crumbs" id="qh-crumbs" aria-label="Breadcrumbs"></nav>
</xsl:template>

<xsl:template name="user.footer.content">
  <nav class="qh-pager" id="qh-pager" aria-label="Pages"></nav>
</xsl:template>

</xsl:stylesheet>
